#pragma once
// The library's exception classes and the few cold functions that raise them.

#include <stdexcept>
#include <string>

namespace quorel {

/// Base of every exception the library raises; carries only its message.
class Exception : public std::runtime_error {
 public:
  /// An exception carrying msg.
  explicit Exception(const std::string& msg) : std::runtime_error(msg) {}
};

/// State errors and failures of the numeric back ends.
class EQuorelException : public Exception {
 public:
  /// An exception carrying msg.
  using Exception::Exception;
};

/// Index and length arguments outside an object.
class EQuorelRangeError : public EQuorelException {
 public:
  using EQuorelException::EQuorelException;
};

/// Wrong argument: identity, complex or length mismatch, nil object.
class EQuorelInvalidArgument : public EQuorelException {
 public:
  using EQuorelException::EQuorelException;
};

/// A text that is not a number.
class EConvertError : public Exception {
 public:
  /// An exception carrying msg.
  using Exception::Exception;
};

/// Allocation failure.
class EOutOfMemory : public Exception {
 public:
  /// An exception carrying msg.
  using Exception::Exception;
};

[[noreturn]] void ERaise(const std::string& msg);
[[noreturn]] void ERangeErrorRaise(const std::string& msg);
[[noreturn]] void EInvalidArgumentRaise(const std::string& msg);
[[noreturn]] void EOutOfMemoryRaise(const std::string& msg);
[[noreturn]] void EConvertErrorRaise(const std::string& msg);

/// printf-style formatting for messages with %d placeholders.
[[gnu::format(printf, 1, 2)]] std::string FormatMsg(const char* fmt, ...);

}  // namespace quorel
