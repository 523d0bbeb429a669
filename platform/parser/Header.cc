#include "platform/parser/Header.h"

#include "platform/common/Strings.h"

namespace Kestrav {
namespace {

bool isControlByte(unsigned char c) {
  return (c < 0x20 && c != '\t') || c == 0x7F;
}

std::string fieldName(std::string_view text) {
  std::string name;
  for (const char c : text) {
    if (c > 0x20 && c < 0x7F && c != ':') name += c;
  }
  return name;
}

std::string fieldValue(std::string_view text) {
  std::string value;
  value.reserve(text.size());
  bool inRun = false;
  for (const char c : text) {
    const bool control = isControlByte(static_cast<unsigned char>(c));
    if (!control) value += c;
    if (control && !inRun) value += ' ';
    inRun = control;
  }
  return value;
}

}  // namespace

Header::Header(std::string_view name, std::string_view value)
    : name_(fieldName(name)), value_(fieldValue(value)) {}

std::string Header::asString() const {
  return name_.empty() ? std::string() : name_ + ": " + value_;
}

bool Header::operator==(const Header& other) const {
  return stringEqualsNoCase(name_, other.name_) && value_ == other.value_;
}

}  // namespace Kestrav
