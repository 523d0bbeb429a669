// The exception type of the library and its platform.
//
// Carries a message, a numeric code, and optionally the name of its source (without extension), a
// line, a string parameter and a cause.
#pragma once

#include <exception>
#include <memory>
#include <string>

#include "platform/common/Export.h"

namespace Kestrav {

class KESTRAV_API Exception : public std::exception {
 public:
  // Codes shared by all throwers.
  static constexpr int kNullHandle = 1;          // a null handle was used, or an object is missing
  static constexpr int kWrongEntity = 2;         // a store entity of the wrong kind
  static constexpr int kFailedConstruction = 4;  // a reference-counted object could not be built
  static constexpr int kBadText = 5;             // a malformed text or stored value
  static constexpr int kFileFailure = 6;         // a file cannot be opened or written

  // `file` is copied; null without a source, with `line` 0.
  Exception(std::string message, int code, const char* file = nullptr, int line = 0);
  Exception(const Exception&);
  Exception& operator=(const Exception&);
  ~Exception() override;

  const std::string& message() const { return message_; }
  int code() const { return code_; }
  const std::string& file() const { return file_; }  // empty without a source
  int line() const { return line_; }

  // A detail for the log, e.g. the offending text.
  Exception& stringParameter(const std::string& parameter);
  const std::string& stringParameter() const { return parameter_; }

  // Copied.
  Exception& cause(const Exception& cause);
  const Exception* cause() const { return cause_.get(); }

  // One line: message, parameter, code, source and line, then the causes.
  std::string asString() const;

  // asString(); valid until the exception is changed or destroyed.
  const char* what() const noexcept override;

 private:
  void describe();

  std::string message_;
  int code_;
  std::string file_;
  int line_;
  std::string parameter_;
  std::shared_ptr<const Exception> cause_;
  std::string description_;
};

}  // namespace Kestrav
