#include "regex/RegularExpression.h"

#define PCRE2_CODE_UNIT_WIDTH 8
#include <pcre2.h>

#include <array>
#include <cstdint>
#include <mutex>
#include <new>

#include "common/Exception.h"
#include "regex/Characters.h"
#include "regex/StringPattern.h"

namespace Kestrav {
namespace {

constexpr std::uint32_t kMatchLimit = 100'000;
constexpr std::uint32_t kDepthLimit = 20'000;
constexpr std::uint32_t kHeapLimitKib = 8 * 1024;
constexpr std::size_t kJitStackStart = 32 * 1024;
constexpr std::size_t kJitStackMost = 1024 * 1024;

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

bool isNotUtf8(int result) {
  return result <= PCRE2_ERROR_UTF8_ERR1 && result >= PCRE2_ERROR_UTF8_ERR21;
}

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
    pcre2_set_match_limit(context_.get(), kMatchLimit);
    pcre2_set_depth_limit(context_.get(), kDepthLimit);
    pcre2_set_heap_limit(context_.get(), kHeapLimitKib);
    // Null where there is no code generator; then the small default stack is never used either.
    if (stack_) pcre2_jit_stack_assign(context_.get(), nullptr, stack_.get());
  }

  int search(const pcre2_code* code, std::string_view subject) {
    return pcre2_match(code, reinterpret_cast<PCRE2_SPTR>(subject.data()), subject.size(), 0, 0,
                       data_.get(), context_.get());
  }

 private:
  std::unique_ptr<pcre2_match_data, decltype(&pcre2_match_data_free)> data_;
  std::unique_ptr<pcre2_match_context, decltype(&pcre2_match_context_free)> context_;
  std::unique_ptr<pcre2_jit_stack, decltype(&pcre2_jit_stack_free)> stack_;
};

}  // namespace

struct RegularExpression::State {
  std::string text;
  std::uint32_t options = 0;
  Code utf;  // null when the expression itself is not UTF-8

  // Built with the first subject that is not UTF-8; most programs never meet one.
  mutable std::once_flag bytesOnce;
  mutable Code bytes;
  mutable CompileError bytesError;

  const pcre2_code* byteProgram() const {
    std::call_once(bytesOnce,
                   [this] { bytes = compile(text, options | PCRE2_NEVER_UTF, bytesError); });
    return bytes.get();
  }
};

RegularExpression::RegularExpression(const std::string& text, bool ignoreCase)
    : state_(std::make_unique<State>()) {
  state_->text = text;
  state_->options = PCRE2_NEVER_BACKSLASH_C | (ignoreCase ? PCRE2_CASELESS : 0u);
  CompileError error;
  if (Characters::isUtf8(text)) {
    state_->utf = compile(text, state_->options | PCRE2_UTF, error);
    if (state_->utf) return;
  } else if (state_->byteProgram()) {
    return;
  } else {
    error = state_->bytesError;
  }
  throw Exception("regular expression does not compile: " + errorText(error.code) + " at offset " +
                      std::to_string(error.offset),
                  StringPattern::kDoesNotCompile, "RegularExpression")
      .stringParameter(text);
}

RegularExpression::~RegularExpression() = default;

RegularExpression::Outcome RegularExpression::search(std::string_view subject,
                                                     std::string* error) const {
  Workspace& workspace = Workspace::ofThisThread();
  int result = PCRE2_ERROR_UTF8_ERR1;
  if (state_->utf) result = workspace.search(state_->utf.get(), subject);
  if (isNotUtf8(result)) {
    const pcre2_code* bytes = state_->byteProgram();
    if (!bytes) {
      if (error) *error = "on a subject that is not UTF-8: " + errorText(state_->bytesError.code);
      return Outcome::kError;
    }
    result = workspace.search(bytes, subject);
  }

  if (result >= 0) return Outcome::kFound;
  switch (result) {
    case PCRE2_ERROR_NOMATCH:
      return Outcome::kNotFound;
    case PCRE2_ERROR_MATCHLIMIT:
    case PCRE2_ERROR_DEPTHLIMIT:
    case PCRE2_ERROR_HEAPLIMIT:
    case PCRE2_ERROR_JIT_STACKLIMIT:
      return Outcome::kLimit;
    default:
      if (error) *error = errorText(result);
      return Outcome::kError;
  }
}

}  // namespace Kestrav
