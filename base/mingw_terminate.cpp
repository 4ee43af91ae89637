// Replaces libstdc++'s handler for uncaught exceptions. The library's own prints the exception's
// name to standard error, which a browser does not have, and links a demangler and a formatter of
// 60 KB for it.
#include <cstdlib>
#include <exception>

namespace __gnu_cxx {

void __verbose_terminate_handler() { std::abort(); }

}  // namespace __gnu_cxx
