#include "platform/common/LogFormat.h"

#include <cctype>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <cwchar>

#include "platform/common/Strings.h"

namespace Kestrav {

namespace {

constexpr char kSeparator = '\x01';
constexpr std::size_t kLongestText = 4096;

enum class Length { kNone, kChar, kShort, kLong, kLongLong, kMax, kSize, kDifference, kLongDouble };

// One conversion, e.g. "%-*.3lld".
struct Conversion {
  std::string spec;  // asterisks replaced by their arguments
  Length length = Length::kNone;
  char type = '\0';
};

// Passed by reference: after a function has received a va_list by value, its state is undefined.
struct Arguments {
  std::va_list list;
};

bool isOneOf(char c, const char* set) {
  return c != '\0' && std::strchr(set, c) != nullptr;
}

// A width or precision: digits, or an asterisk that takes the next argument.
const char* takeNumber(const char* at, Arguments& arguments, std::string& spec) {
  if (*at == '*') {
    spec += std::to_string(va_arg(arguments.list, int));
    return at + 1;
  }
  while (std::isdigit(static_cast<unsigned char>(*at))) spec += *at++;
  return at;
}

const char* takeLength(const char* at, Conversion& conversion) {
  static constexpr struct {
    const char* text;
    Length length;
  } kLengths[] = {
      {"hh", Length::kChar},      {"h", Length::kShort},      {"ll", Length::kLongLong},
      {"l", Length::kLong},       {"j", Length::kMax},        {"z", Length::kSize},
      {"t", Length::kDifference}, {"L", Length::kLongDouble},
  };
  for (const auto& known : kLengths) {
    const std::size_t size = std::strlen(known.text);
    if (std::strncmp(at, known.text, size) == 0) {
      conversion.length = known.length;
      conversion.spec += known.text;
      return at + size;
    }
  }
  return at;
}

// Reads the conversion at `at`, which points at '%'. Returns where it ends.
const char* takeConversion(const char* at, Arguments& arguments, Conversion& conversion) {
  conversion.spec = *at++;
  while (isOneOf(*at, "-+ #0'")) conversion.spec += *at++;
  at = takeNumber(at, arguments, conversion.spec);
  if (*at == '.') {
    std::string precision;
    at = takeNumber(at + 1, arguments, precision);
    // A negative precision of an asterisk counts as none.
    if (precision.empty() || precision[0] != '-') conversion.spec += "." + precision;
  }
  at = takeLength(at, conversion);
  if (*at == '\0' || *at == kSeparator) return at;
  conversion.type = *at;
  conversion.spec += *at;
  return at + 1;
}

template <class T>
void print(std::string& out, const Conversion& conversion, T value) {
  // The compiler has checked the format of the call to log().
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-nonliteral"
  const char* spec = conversion.spec.c_str();
  const int size = std::snprintf(nullptr, 0, spec, value);
  if (size <= 0) return;  // empty or not printable, e.g. a wide text in the "C" locale
  const std::size_t start = out.size();
  out.resize(start + static_cast<std::size_t>(size) + 1);
  std::snprintf(out.data() + start, static_cast<std::size_t>(size) + 1, spec, value);
  out.resize(start + static_cast<std::size_t>(size));
#pragma GCC diagnostic pop
}

void printInteger(std::string& out, const Conversion& conversion, Arguments& arguments) {
  switch (conversion.length) {
    case Length::kLong:
      return print(out, conversion, va_arg(arguments.list, long));
    case Length::kLongLong:
    case Length::kLongDouble:  // the C library reads "%Ld" this way
      return print(out, conversion, va_arg(arguments.list, long long));
    case Length::kMax:
      return print(out, conversion, va_arg(arguments.list, std::intmax_t));
    case Length::kSize:
      return print(out, conversion, va_arg(arguments.list, std::size_t));
    case Length::kDifference:
      return print(out, conversion, va_arg(arguments.list, std::ptrdiff_t));
    case Length::kNone:
    case Length::kChar:
    case Length::kShort:
      return print(out, conversion, va_arg(arguments.list, int));
  }
}

// False for a conversion unknown to C.
bool printArgument(std::string& out, const Conversion& conversion, Arguments& arguments) {
  const bool wide = conversion.length == Length::kLong;
  switch (conversion.type) {
    case 'd':
    case 'i':
    case 'o':
    case 'u':
    case 'x':
    case 'X':
      printInteger(out, conversion, arguments);
      return true;
    case 'e':
    case 'E':
    case 'f':
    case 'F':
    case 'g':
    case 'G':
    case 'a':
    case 'A':
      if (conversion.length == Length::kLongDouble) {
        print(out, conversion, va_arg(arguments.list, long double));
      } else {
        print(out, conversion, va_arg(arguments.list, double));
      }
      return true;
    case 'c':
      if (wide) {
        print(out, conversion, va_arg(arguments.list, std::wint_t));
      } else {
        print(out, conversion, va_arg(arguments.list, int));
      }
      return true;
    case 's':
      if (wide) {
        const auto* text = va_arg(arguments.list, const wchar_t*);
        print(out, conversion, text == nullptr ? L"(null)" : text);
      } else {
        const auto* text = va_arg(arguments.list, const char*);
        print(out, conversion, text == nullptr ? "(null)" : text);
      }
      return true;
    case 'p':
      print(out, conversion, va_arg(arguments.list, void*));
      return true;
    case 'n':
      va_arg(arguments.list, void*);
      return true;
    case '%':
      out += '%';
      return true;
    default:
      return false;
  }
}

bool isHarmful(std::string_view sequence) {
  if (sequence.size() == 1) {
    const auto c = static_cast<unsigned char>(sequence[0]);
    return c < 0x20 || c == 0x7F;
  }
  if (sequence.size() == 2)
    return sequence[0] == '\xC2' && static_cast<unsigned char>(sequence[1]) < 0xA0;
  return sequence == "\xE2\x80\xA8" || sequence == "\xE2\x80\xA9";
}

void appendEscaped(std::string& out, char c) {
  switch (c) {
    case '\n':
      out += "\\n";
      return;
    case '\r':
      out += "\\r";
      return;
    case '\t':
      out += "\\t";
      return;
    default: {
      char hex[8];
      std::snprintf(hex, sizeof hex, "\\x%02X", static_cast<unsigned char>(c));
      out += hex;
    }
  }
}

}  // namespace

std::vector<std::string> formatFields(const char* format, std::va_list list) {
  std::vector<std::string> fields(1);
  Arguments arguments;
  va_copy(arguments.list, list);
  bool known = true;  // false: the rest of the format is copied
  for (const char* at = format; *at != '\0';) {
    if (*at == kSeparator) {
      fields.emplace_back();
      ++at;
    } else if (*at == '%' && known) {
      Conversion conversion;
      const char* end = takeConversion(at, arguments, conversion);
      known = printArgument(fields.back(), conversion, arguments);
      if (!known) fields.back().append(at, end);
      at = end;
    } else {
      fields.back() += *at++;
    }
  }
  va_end(arguments.list);
  return fields;
}

std::string escapedForLine(std::string_view text) {
  std::string out;
  out.reserve(text.size());
  while (!text.empty()) {
    if (out.size() >= kLongestText) return out + "...";
    const std::size_t length = utf8SequenceLength(text);
    const std::string_view sequence = text.substr(0, length == 0 ? 1 : length);
    if (length == 0 || isHarmful(sequence)) {
      for (char c : sequence) appendEscaped(out, c);
    } else {
      out += sequence;
    }
    text.remove_prefix(sequence.size());
  }
  return out;
}

}  // namespace Kestrav
