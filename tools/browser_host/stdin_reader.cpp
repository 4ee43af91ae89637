#include "tools/browser_host/stdin_reader.h"

#include <array>
#include <string>
#include <utility>

#include "tools/support/utf8.h"

namespace {

class CStdinReader {
 public:
  CStdinReader(std::shared_ptr<CCommandQueue> queue, HWND window)
      : m_queue(std::move(queue)), m_window(window) {}

  void Run() {
    const HANDLE input = GetStdHandle(STD_INPUT_HANDLE);
    std::array<char, 4096> buffer;
    DWORD read = 0;
    while (ReadFile(input, buffer.data(), static_cast<DWORD>(buffer.size()), &read, nullptr) &&
           read != 0) {
      m_pending.append(buffer.data(), read);
      TakeLines();
    }
    if (!m_pending.empty()) {
      TakeLine(m_pending);  // the last line need not end
    }
    Post(Command{.kind = CommandKind::kQuit, .text = {}});
  }

 private:
  void TakeLines() {
    size_t end = 0;
    while ((end = m_pending.find('\n')) != std::string::npos) {
      TakeLine(m_pending.substr(0, end));
      m_pending.erase(0, end + 1);
    }
  }

  void TakeLine(std::string line) {
    if (!line.empty() && line.back() == '\r') {
      line.pop_back();
    }
    if (!line.empty()) {
      Post(ParseCommandLine(FromUtf8(line)));
    }
  }

  void Post(CCommandQueue::Entry entry) {
    const bool close = entry && entry->kind == CommandKind::kClose;
    m_queue->Push(std::move(entry));
    PostMessageW(m_window, close ? WM_CLOSE : kCommandArrived, 0, 0);
  }

  std::shared_ptr<CCommandQueue> m_queue;
  HWND m_window;
  std::string m_pending;  // bytes of a line that has not ended yet
};

DWORD WINAPI ReaderThread(void* parameter) {
  const std::unique_ptr<CStdinReader> reader(static_cast<CStdinReader*>(parameter));
  reader->Run();
  return 0;
}

}  // namespace

bool StartStdinReader(std::shared_ptr<CCommandQueue> queue, HWND window) {
  auto reader = std::make_unique<CStdinReader>(std::move(queue), window);
  const HANDLE thread = CreateThread(nullptr, 0, ReaderThread, reader.get(), 0, nullptr);
  if (!thread) {
    return false;
  }
  static_cast<void>(reader.release());  // the thread's now
  CloseHandle(thread);
  return true;
}
