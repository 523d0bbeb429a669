#include "platform/dictionary/CountedExpression.h"

#define PCRE2_CODE_UNIT_WIDTH 8
#include <pcre2.h>

#include <algorithm>
#include <array>
#include <new>

#include "platform/common/Exception.h"
#include "platform/dictionary/Words.h"
#include "platform/regex/Characters.h"

namespace Kestrav::Dictionary {
namespace {

// Steps from one place where a match could start.
constexpr std::uint32_t kMatchLimit = 100'000;
constexpr std::uint32_t kDepthLimit = 20'000;
constexpr std::uint32_t kHeapLimitKib = 8 * 1024;
constexpr std::size_t kJitStackStart = 32 * 1024;
constexpr std::size_t kJitStackMost = 1024 * 1024;

// Items tried and bytes passed over, in all of one text.
constexpr std::size_t kWorkLeast = 4'000'000;
constexpr std::size_t kWorkPerByte = 8;

// The callout that asks whether the place splits a word; the number is high so that no expression
// uses it by chance.
constexpr std::uint32_t kWordCallout = 251;

struct FreeCode {
  void operator()(pcre2_code* code) const { pcre2_code_free(code); }
};
using Code = std::unique_ptr<pcre2_code, FreeCode>;

std::string errorText(int code) {
  std::array<PCRE2_UCHAR, 256> text{};
  const int length = pcre2_get_error_message(code, text.data(), text.size());
  if (length < 0) return "error " + std::to_string(code);
  return std::string(reinterpret_cast<const char*>(text.data()), static_cast<std::size_t>(length));
}

constexpr std::uint32_t kOptions = PCRE2_UTF | PCRE2_NEVER_BACKSLASH_C;

struct CompileError {
  int code = 0;
  std::size_t offset = 0;
};

Code compile(const std::string& text, std::uint32_t options, CompileError& error) {
  return Code(pcre2_compile(reinterpret_cast<PCRE2_SPTR>(text.data()), text.size(), options,
                            &error.code, &error.offset, nullptr));
}

// Verbs such as "(*ANYCRLF)" count at the very start only.
std::size_t leadingVerbs(const std::string& expression) {
  std::size_t end = 0;
  while (expression.compare(end, 2, "(*") == 0) {
    const std::size_t close = expression.find(')', end);
    if (close == std::string::npos) break;
    end = close + 1;
  }
  return end;
}

// Asks for words at the ends. An open "\Q" is closed first; `closeComment` also ends a comment.
std::string wrapped(const std::string& expression, CountedExpression::Options options,
                    bool closeComment) {
  const std::string callout = "(?C" + std::to_string(kWordCallout) + ")";
  const std::size_t verbs = leadingVerbs(expression);
  return expression.substr(0, verbs) + (options.startsWord ? callout : "") +
         "(?:" + expression.substr(verbs) + "\\E" + (closeComment ? "\n)" : ")") +
         (options.endsWord ? callout : "");
}

struct Meter {
  std::size_t allowed;
  std::string_view subject;
  std::size_t used = 0;
  std::size_t position = 0;

  // Called before every item of the program.
  static int tick(pcre2_callout_block* block, void* data) {
    Meter& meter = *static_cast<Meter*>(data);
    const std::size_t now = block->current_position;
    if (block->callout_number == kWordCallout) return splitsWord(meter.subject, now) ? 1 : 0;
    meter.used += 1 + std::max(now, meter.position) - std::min(now, meter.position);
    meter.position = now;
    return meter.used > meter.allowed ? PCRE2_ERROR_CALLOUT : 0;
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
    pcre2_set_match_limit(context_.get(), kMatchLimit);
    pcre2_set_depth_limit(context_.get(), kDepthLimit);
    pcre2_set_heap_limit(context_.get(), kHeapLimitKib);
    if (stack_) pcre2_jit_stack_assign(context_.get(), nullptr, stack_.get());
  }

  int search(const pcre2_code* code, std::size_t from, Meter& meter) {
    pcre2_set_callout(context_.get(), &Meter::tick, &meter);
    const char* text = meter.subject.empty() ? "" : meter.subject.data();
    return pcre2_match(code, reinterpret_cast<PCRE2_SPTR>(text), meter.subject.size(), from,
                       PCRE2_NOTEMPTY | PCRE2_NO_UTF_CHECK, data_.get(), context_.get());
  }

  std::size_t matchEnd() const { return pcre2_get_ovector_pointer(data_.get())[1]; }

 private:
  std::unique_ptr<pcre2_match_data, decltype(&pcre2_match_data_free)> data_;
  std::unique_ptr<pcre2_match_context, decltype(&pcre2_match_context_free)> context_;
  std::unique_ptr<pcre2_jit_stack, decltype(&pcre2_jit_stack_free)> stack_;
};

}  // namespace

struct CountedExpression::Program {
  Code code;
};

CountedExpression::CountedExpression(const std::string& expression, Options options) {
  if (!Characters::isUtf8(expression)) {
    throw Exception("regular expression is not UTF-8", Exception::kBadText, "CountedExpression");
  }
  const std::uint32_t caseless = options.ignoreCase ? PCRE2_CASELESS : 0u;
  // Alone first: the text must be an expression by itself, and errors are told by its own offsets.
  CompileError error;
  Code code = compile(expression, kOptions | caseless, error);
  if (code) {
    const std::uint32_t metered = kOptions | caseless | PCRE2_AUTO_CALLOUT;
    if (options.startsWord || options.endsWord) {
      code = compile(wrapped(expression, options, false), metered, error);
      if (!code) code = compile(wrapped(expression, options, true), metered, error);
    } else {
      code = compile(expression, metered, error);
    }
  }
  if (!code) {
    throw Exception("regular expression does not compile: " + errorText(error.code) +
                        " at offset " + std::to_string(error.offset),
                    Exception::kBadText, "CountedExpression");
  }
  // Where no code can be generated, it is interpreted.
  pcre2_jit_compile(code.get(), PCRE2_JIT_COMPLETE);
  program_ = std::make_unique<const Program>(Program{std::move(code)});
}

CountedExpression::~CountedExpression() = default;

CountedExpression::Count CountedExpression::count(std::string_view subject,
                                                  std::uint32_t most) const {
  Workspace& workspace = Workspace::ofThisThread();
  Meter meter{kWorkLeast + kWorkPerByte * subject.size(), subject};
  Count count;
  for (std::size_t from = 0; count.matches < most && from < subject.size();) {
    const int result = workspace.search(program_->code.get(), from, meter);
    if (result == PCRE2_ERROR_NOMATCH) break;
    if (result < 0) {
      count.givenUp = true;
      count.reason = result == PCRE2_ERROR_CALLOUT ? "too much work" : errorText(result);
      break;
    }
    ++count.matches;
    // A look-behind that holds \K can end a match before its start.
    if (workspace.matchEnd() <= from) break;
    from = workspace.matchEnd();
  }
  return count;
}

}  // namespace Kestrav::Dictionary
