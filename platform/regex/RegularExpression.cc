#include "platform/regex/RegularExpression.h"

#define PCRE2_CODE_UNIT_WIDTH 8
#include <pcre2.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <mutex>
#include <new>

#include "platform/common/Exception.h"
#include "platform/regex/Characters.h"
#include "platform/regex/StringPattern.h"

namespace Kestrav {
namespace {

// Steps that the library allows from one place where a match could start.
constexpr std::uint32_t kMatchLimit = 100'000;
constexpr std::uint32_t kDepthLimit = 20'000;
constexpr std::uint32_t kHeapLimitKib = 8 * 1024;
constexpr std::size_t kJitStackStart = 32'768;
constexpr std::size_t kJitStackMost = 1'048'576;

// That limit alone bounds little: generated code counts one step for a whole run of a repeated
// character, which may try the rest of the subject, and counting starts afresh at every place. So a
// search first gets a limit under which all of it stays below kQuickWork even then. Ordinary
// searches end well within; one that does not is repeated with a program that reports every item it
// tries, and gets kMeteredWork, items tried and bytes passed over counted alike.
constexpr std::size_t kQuickWork = 200'000'000;
constexpr std::size_t kMeteredWork = 20'000'000;
constexpr std::size_t kQuickLimitLeast = 16;  // not worth trying with less

struct FreeCode {
  void operator()(pcre2_code* code) const { pcre2_code_free(code); }
};
using Code = std::unique_ptr<pcre2_code, FreeCode>;

struct CompileError {
  int code = 0;
  std::size_t offset = 0;
};

std::string errorText(int code) {
  std::array<PCRE2_UCHAR, 256> text{};
  const int length = pcre2_get_error_message(code, text.data(), text.size());
  if (length < 0) return "error " + std::to_string(code);
  return std::string(reinterpret_cast<const char*>(text.data()), static_cast<std::size_t>(length));
}

Code compile(const std::string& text, std::uint32_t options, CompileError& error) {
  Code code(pcre2_compile(reinterpret_cast<PCRE2_SPTR>(text.data()), text.size(), options,
                          &error.code, &error.offset, nullptr));
  // Where no code can be generated (memory that may not be made executable), it is interpreted.
  if (code) pcre2_jit_compile(code.get(), PCRE2_JIT_COMPLETE);
  return code;
}

bool isAnchored(const pcre2_code* code) {
  std::uint32_t options = 0;
  pcre2_pattern_info(code, PCRE2_INFO_ALLOPTIONS, &options);
  return (options & PCRE2_ANCHORED) != 0;
}

bool isNotUtf8(int result) {
  return result <= PCRE2_ERROR_UTF8_ERR1 && result >= PCRE2_ERROR_UTF8_ERR21;
}

bool isLimit(int result) {
  switch (result) {
    case PCRE2_ERROR_MATCHLIMIT:
    case PCRE2_ERROR_DEPTHLIMIT:
    case PCRE2_ERROR_HEAPLIMIT:
    case PCRE2_ERROR_JIT_STACKLIMIT:
    case PCRE2_ERROR_CALLOUT:
      return true;
    default:
      return false;
  }
}

struct Meter {
  std::size_t used = 0;
  std::size_t position = 0;

  // Called before every item of a metered program.
  static int tick(pcre2_callout_block* block, void* data) {
    Meter& meter = *static_cast<Meter*>(data);
    const std::size_t now = block->current_position;
    meter.used += 1 + std::max(now, meter.position) - std::min(now, meter.position);
    meter.position = now;
    return meter.used > kMeteredWork ? PCRE2_ERROR_CALLOUT : 0;
  }
};

// What one thread needs to search with any program.
class Workspace {
 public:
  static Workspace& ofThisThread() {
    thread_local Workspace workspace;
    return workspace;
  }

  Workspace()
      : data_(pcre2_match_data_create(1, nullptr), &pcre2_match_data_free),
        context_(pcre2_match_context_create(nullptr), &pcre2_match_context_free),
        stack_(pcre2_jit_stack_create(kJitStackStart, kJitStackMost, nullptr),
               &pcre2_jit_stack_free) {
    if (!data_ || !context_) throw std::bad_alloc();
    pcre2_set_depth_limit(context_.get(), kDepthLimit);
    pcre2_set_heap_limit(context_.get(), kHeapLimitKib);
    // Null where there is no code generator; then the small default stack is never used either.
    if (stack_) pcre2_jit_stack_assign(context_.get(), nullptr, stack_.get());
  }

  // A `meter` is for programs compiled to report to it.
  int search(const pcre2_code* code, std::string_view subject, std::size_t limit, Meter* meter) {
    pcre2_set_match_limit(context_.get(), static_cast<std::uint32_t>(limit));
    pcre2_set_callout(context_.get(), meter ? &Meter::tick : nullptr, meter);
    return pcre2_match(code, reinterpret_cast<PCRE2_SPTR>(subject.data()), subject.size(), 0, 0,
                       data_.get(), context_.get());
  }

 private:
  std::unique_ptr<pcre2_match_data, decltype(&pcre2_match_data_free)> data_;
  std::unique_ptr<pcre2_match_context, decltype(&pcre2_match_context_free)> context_;
  std::unique_ptr<pcre2_jit_stack, decltype(&pcre2_jit_stack_free)> stack_;
};

// One reading (UTF-8 or bytes) of an expression.
class Reading {
 public:
  Reading(const std::string& text, std::uint32_t options)
      : text_(text), options_(options), quick_(compile(text, options, error_)) {
    anchored_ = quick_ && isAnchored(quick_.get());
  }

  bool compiled() const { return quick_ != nullptr; }
  const CompileError& error() const { return error_; }

  // REQUIRES: compiled(). Returns what the library does.
  int search(std::string_view subject) const {
    Workspace& workspace = Workspace::ofThisThread();
    const std::size_t length = subject.size() + 1;
    const std::size_t starts = anchored_ ? 1 : length;
    const std::size_t limit = std::min<std::size_t>(kMatchLimit, kQuickWork / starts / length);
    int result = PCRE2_ERROR_MATCHLIMIT;
    if (limit >= kQuickLimitLeast) {
      result = workspace.search(quick_.get(), subject, limit, nullptr);
      if (!isLimit(result) || limit == kMatchLimit) return result;
    }
    std::call_once(meteredOnce_, [this] {
      CompileError ignored;
      metered_ = compile(text_, options_ | PCRE2_AUTO_CALLOUT, ignored);
    });
    if (!metered_) return PCRE2_ERROR_MATCHLIMIT;  // the reports made it too large to compile
    Meter meter;
    return workspace.search(metered_.get(), subject, kMatchLimit, &meter);
  }

 private:
  std::string text_;
  std::uint32_t options_;
  CompileError error_;
  Code quick_;
  bool anchored_ = false;
  mutable std::once_flag meteredOnce_;
  mutable Code metered_;
};

}  // namespace

struct RegularExpression::State {
  std::string text;
  std::uint32_t options = 0;
  std::unique_ptr<const Reading> utf;  // null when the expression itself is not UTF-8

  // Built with the first subject that is not UTF-8; most expressions never meet one.
  mutable std::once_flag bytesOnce;
  mutable std::unique_ptr<const Reading> bytes;

  const Reading& asBytes() const {
    std::call_once(bytesOnce, [this] { bytes = std::make_unique<Reading>(text, options); });
    return *bytes;
  }
};

RegularExpression::RegularExpression(const std::string& text, bool ignoreCase)
    : state_(std::make_unique<State>()) {
  state_->text = text;
  state_->options = PCRE2_NEVER_BACKSLASH_C | (ignoreCase ? PCRE2_CASELESS : 0u);
  if (Characters::isUtf8(text)) {
    state_->utf = std::make_unique<Reading>(text, state_->options | PCRE2_UTF);
  }
  const Reading& reading = state_->utf ? *state_->utf : state_->asBytes();
  if (reading.compiled()) return;
  throw Exception("regular expression does not compile: " + errorText(reading.error().code) +
                      " at offset " + std::to_string(reading.error().offset),
                  StringPattern::kDoesNotCompile, "RegularExpression")
      .stringParameter(text);
}

RegularExpression::~RegularExpression() = default;

RegularExpression::Outcome RegularExpression::search(std::string_view subject,
                                                     std::string* error) const {
  int result = PCRE2_ERROR_UTF8_ERR1;
  if (state_->utf) result = state_->utf->search(subject);
  if (isNotUtf8(result)) {
    const Reading& bytes = state_->asBytes();
    if (!bytes.compiled()) {
      if (error) *error = "on a subject that is not UTF-8: " + errorText(bytes.error().code);
      return Outcome::kError;
    }
    result = bytes.search(subject);
  }

  if (result >= 0) return Outcome::kFound;
  if (result == PCRE2_ERROR_NOMATCH) return Outcome::kNotFound;
  if (isLimit(result)) return Outcome::kLimit;
  if (error) *error = errorText(result);
  return Outcome::kError;
}

}  // namespace Kestrav
