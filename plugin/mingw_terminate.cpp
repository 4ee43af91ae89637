// Replaces libstdc++'s handler for exceptions that nobody catches. The library's own names the
// exception on the standard error output, which a browser has not, and brings a demangler and a
// formatter of 60 KB for that.
#include <cstdlib>
#include <exception>

namespace __gnu_cxx {

void __verbose_terminate_handler() { std::abort(); }

}  // namespace __gnu_cxx
