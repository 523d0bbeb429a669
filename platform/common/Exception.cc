#include "platform/common/Exception.h"

#include <utility>

namespace Kestrav {

Exception::Exception(std::string message, int code, const char* file, int line)
    : message_(std::move(message)), code_(code), file_(file ? file : ""), line_(line) {
  describe();
}

Exception::Exception(const Exception&) = default;
Exception& Exception::operator=(const Exception&) = default;
Exception::~Exception() = default;

Exception& Exception::stringParameter(const std::string& parameter) {
  parameter_ = parameter;
  describe();
  return *this;
}

Exception& Exception::cause(const Exception& cause) {
  cause_ = std::make_shared<const Exception>(cause);
  describe();
  return *this;
}

std::string Exception::asString() const {
  return description_;
}

const char* Exception::what() const noexcept {
  return description_.c_str();
}

void Exception::describe() {
  description_ = message_;
  if (!parameter_.empty()) description_ += " \"" + parameter_ + "\"";
  description_ += " (code " + std::to_string(code_);
  if (!file_.empty()) description_ += ", " + file_ + ":" + std::to_string(line_);
  description_ += ")";
  if (cause_) description_ += "; caused by: " + cause_->asString();
}

}  // namespace Kestrav
