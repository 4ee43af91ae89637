#include "tests/support/stored_zip.h"

namespace {

constexpr std::uint32_t kLocalHeader = 0x04034B50;
constexpr std::uint32_t kDirectoryHeader = 0x02014B50;
constexpr std::uint32_t kDirectoryEnd = 0x06054B50;
constexpr std::uint16_t kVersionNeeded = 20;
constexpr std::uint16_t kMadeOnUnix = 0x0300 | kVersionNeeded;  // names are not translated
constexpr std::uint32_t kReadable = 0100644U << 16U;            // a plain file
constexpr std::uint16_t kFirstDay = 0x21;                       // 1980-01-01

void Put(std::string& bytes, std::uint32_t value, int size) {
  for (int i = 0; i < size; ++i) {
    bytes += static_cast<char>(value >> (8 * i));
  }
}
void Put16(std::string& bytes, size_t value) { Put(bytes, static_cast<std::uint32_t>(value), 2); }
void Put32(std::string& bytes, size_t value) { Put(bytes, static_cast<std::uint32_t>(value), 4); }

std::uint32_t Checksum(const std::string& bytes) {
  std::uint32_t crc = 0xFFFFFFFF;
  for (const char c : bytes) {
    crc ^= static_cast<unsigned char>(c);
    for (int bit = 0; bit < 8; ++bit) {
      crc = (crc >> 1U) ^ ((crc & 1U) != 0 ? 0xEDB88320 : 0);
    }
  }
  return ~crc;
}

/// What both kinds of an entry's header have in common.
void PutEntry(std::string& bytes, std::uint32_t checksum, size_t size, size_t nameLength) {
  Put16(bytes, kVersionNeeded);
  Put16(bytes, 0);  // flags
  Put16(bytes, 0);  // stored
  Put16(bytes, 0);  // time
  Put16(bytes, kFirstDay);
  Put32(bytes, checksum);
  Put32(bytes, size);
  Put32(bytes, size);
  Put16(bytes, nameLength);
  Put16(bytes, 0);  // extra field
}

}  // namespace

CStoredZip& CStoredZip::Add(const std::string& name, const std::string& bytes, bool wrongChecksum) {
  const std::uint32_t checksum = Checksum(bytes) + (wrongChecksum ? 1 : 0);
  m_entries.push_back({name, checksum, static_cast<std::uint32_t>(bytes.size()),
                       static_cast<std::uint32_t>(m_files.size())});
  Put32(m_files, kLocalHeader);
  PutEntry(m_files, checksum, bytes.size(), name.size());
  m_files += name + bytes;
  return *this;
}

std::string CStoredZip::Bytes() const {
  std::string directory;
  for (const CEntry& entry : m_entries) {
    Put32(directory, kDirectoryHeader);
    Put16(directory, kMadeOnUnix);
    PutEntry(directory, entry.checksum, entry.size, entry.name.size());
    Put16(directory, 0);  // comment
    Put16(directory, 0);  // disk
    Put16(directory, 0);  // internal attributes
    Put32(directory, kReadable);
    Put32(directory, entry.offset);
    directory += entry.name;
  }
  std::string end;
  Put32(end, kDirectoryEnd);
  Put16(end, 0);  // disk
  Put16(end, 0);
  Put16(end, m_entries.size());
  Put16(end, m_entries.size());
  Put32(end, directory.size());
  Put32(end, m_files.size());
  Put16(end, 0);  // comment
  return m_files + directory + end;
}
