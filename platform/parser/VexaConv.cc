#include "platform/parser/VexaConv.h"

#include <unicode/ucnv.h>
#include <unicode/ucnv_cb.h>
#include <unicode/ucnv_err.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <string_view>

#include "platform/common/Exception.h"
#include "platform/common/Strings.h"

namespace Kestrav {
namespace {

constexpr UChar kReplacement = 0xFFFD;
constexpr std::size_t kLongestName = 64;

struct CloseConverter {
  void operator()(UConverter* converter) const { ucnv_close(converter); }
};
using Converter = std::unique_ptr<UConverter, CloseConverter>;

// Names may come from a message. ICU looks for unknown names in the file system, takes an empty
// name for the default charset and a comma for the start of options, so it only gets plain names.
bool isCharsetName(std::string_view name) {
  if (name.empty() || name.size() > kLongestName) return false;
  return std::all_of(name.begin(), name.end(), [](char c) {
    return isAsciiLetterOrDigit(c) || std::string_view("-_.:+()").find(c) != std::string_view::npos;
  });
}

// Some of ICU's own names contain options ("ISO_2022,locale=ja,version=0").
bool isAvailableName(const std::string& name) {
  if (name.find(',') == std::string::npos) return false;
  const std::int32_t count = ucnv_countAvailable();
  for (std::int32_t i = 0; i < count; ++i) {
    if (name == ucnv_getAvailableName(i)) return true;
  }
  return false;
}

Converter openConverter(const std::string& name) {
  if (!isCharsetName(name) && !isAvailableName(name)) return nullptr;
  UErrorCode error = U_ZERO_ERROR;
  Converter converter(ucnv_open(name.c_str(), &error));
  if (U_FAILURE(error)) return nullptr;
  return converter;
}

}  // namespace

struct VexaConv::Impl {
  MediaOut& out;
  Converter from;
  Converter to;
  bool substitute = false;
  bool ended = false;
  std::size_t failures = 0;
  std::size_t replacements = 0;  // inserted U+FFFD, which are counted as failures already

  explicit Impl(MediaOut& target) : out(target) {}

  bool ok() const { return from && to; }

  void failedSource(UConverterToUnicodeArgs* args, UErrorCode* error) {
    ++failures;
    *error = U_ZERO_ERROR;
    if (!substitute) return;
    ++replacements;
    ucnv_cbToUWriteUChars(args, &kReplacement, 1, 0, error);
  }

  void failedTarget(UConverterFromUnicodeArgs* args, UChar32 codePoint, UErrorCode* error) {
    if (codePoint == kReplacement && replacements > 0) {
      --replacements;
    } else {
      ++failures;
    }
    *error = U_ZERO_ERROR;
    if (substitute) ucnv_cbFromUWriteSub(args, 0, error);
  }

  static void sourceCallback(const void* context, UConverterToUnicodeArgs* args, const char*,
                             std::int32_t, UConverterCallbackReason reason, UErrorCode* error) {
    if (reason > UCNV_IRREGULAR) return;
    static_cast<Impl*>(const_cast<void*>(context))->failedSource(args, error);
  }

  static void targetCallback(const void* context, UConverterFromUnicodeArgs* args, const UChar*,
                             std::int32_t, UChar32 codePoint, UConverterCallbackReason reason,
                             UErrorCode* error) {
    if (reason > UCNV_IRREGULAR) return;
    static_cast<Impl*>(const_cast<void*>(context))->failedTarget(args, codePoint, error);
  }

  void install() {
    UErrorCode error = U_ZERO_ERROR;
    ucnv_setToUCallBack(from.get(), sourceCallback, this, nullptr, nullptr, &error);
    ucnv_setFromUCallBack(to.get(), targetCallback, this, nullptr, nullptr, &error);
    if (U_FAILURE(error)) from.reset();
  }

  void encode(const UChar* text, const UChar* textEnd, bool flush) {
    std::array<char, 1024> bytes;
    UErrorCode error = U_BUFFER_OVERFLOW_ERROR;
    while (error == U_BUFFER_OVERFLOW_ERROR) {
      error = U_ZERO_ERROR;
      char* end = bytes.data();
      ucnv_fromUnicode(to.get(), &end, bytes.data() + bytes.size(), &text, textEnd, nullptr, flush,
                       &error);
      if (end != bytes.data())
        out.write(bytes.data(), static_cast<std::size_t>(end - bytes.data()));
    }
    // The callbacks clear all conversion errors: this is an error of the converter itself.
    if (U_FAILURE(error)) from.reset();
  }

  void decode(const char* data, const char* dataEnd, bool flush) {
    std::array<UChar, 512> units;
    UErrorCode error = U_BUFFER_OVERFLOW_ERROR;
    while (ok() && error == U_BUFFER_OVERFLOW_ERROR) {
      error = U_ZERO_ERROR;
      UChar* end = units.data();
      ucnv_toUnicode(from.get(), &end, units.data() + units.size(), &data, dataEnd, nullptr, flush,
                     &error);
      encode(units.data(), end, flush && error != U_BUFFER_OVERFLOW_ERROR);
    }
    if (U_FAILURE(error)) from.reset();
  }
};

VexaConv::VexaConv(MediaOut& out, const std::string& from, const std::string& to, unsigned flags)
    : impl_(std::make_unique<Impl>(out)) {
  impl_->from = openConverter(from);
  impl_->to = openConverter(to);
  if (impl_->ok()) impl_->install();
  substitute_unknown((flags & kSubstituteUnknown) != 0);
  retry_on_failure((flags & kRetryOnFailure) != 0);
}

VexaConv::~VexaConv() = default;

void VexaConv::substitute_unknown(bool on) {
  impl_->substitute = on;
}

void VexaConv::retry_on_failure(bool on) {
  if (impl_->ok()) ucnv_setFallback(impl_->to.get(), on);
}

bool VexaConv::ok() const {
  return impl_->ok();
}

std::size_t VexaConv::terrCnt() const {
  return impl_->failures;
}

void VexaConv::write(const char* data, std::size_t size) {
  if (!impl_->ok() || impl_->ended || size == 0) return;
  impl_->decode(data, data + size, false);
}

void VexaConv::end() {
  if (impl_->ended) return;
  const char nothing = 0;
  if (impl_->ok()) impl_->decode(&nothing, &nothing, true);
  impl_->ended = true;
  impl_->out.end();
}

Buffer VexaConv::fromUtf8(const std::string& text, const std::string& charset, unsigned flags) {
  Buffer result;
  BufferMediaOut out(result);
  VexaConv converter(out, "UTF-8", charset, flags);
  if (!converter.ok()) {
    throw Exception("There is no such charset", kUnknownCharset).stringParameter(charset);
  }
  converter.write(text.data(), text.size());
  converter.end();
  return result;
}

}  // namespace Kestrav
