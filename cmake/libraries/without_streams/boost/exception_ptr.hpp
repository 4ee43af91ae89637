// Stands before Boost's own <boost/exception_ptr.hpp> while Boost.Thread is built.
//
// Boost.Thread's one source for threads includes the futures, and these keep their exceptions in
// Boost's exception_ptr, which can describe every exception in words. For that it writes to a stream,
// and the stream brings all of the C++ library's streams and locales into each program that starts a
// thread: two fifths of FolivoPlugin.dll. The language's own exception_ptr does the same without words.
//
// The futures of the library built so and those of a program that includes Boost's own header differ.
// The plug-in uses none; one that did would show in release_dll_test by the streams it brings.
#pragma once

#include <exception>

namespace boost {

using std::current_exception;
using std::exception_ptr;
using std::rethrow_exception;

template <class Exception>
exception_ptr copy_exception(const Exception& exception) {
  return std::make_exception_ptr(exception);
}

}  // namespace boost
