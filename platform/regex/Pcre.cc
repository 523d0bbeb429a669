#include "platform/regex/Pcre.h"

#define PCRE2_CODE_UNIT_WIDTH 8
#include <pcre2.h>

#include <algorithm>
#include <array>
#include <initializer_list>
#include <new>

namespace Kestrav::Pcre {
namespace {

constexpr std::uint32_t kDepthLimit = 20'000;
constexpr std::uint32_t kHeapLimitKib = 8 * 1024;
constexpr std::size_t kJitStackStart = 32 * 1024;
constexpr std::size_t kJitStackMost = 1024 * 1024;
constexpr std::uint32_t kCheckNumber = 251;  // of kCheck

// Of BoundedProgram, in the units of Meter.
constexpr std::size_t kQuickWork = 200'000'000;
constexpr std::size_t kMeteredWork = 20'000'000;
constexpr std::size_t kLeastQuickLimit = 16;  // below it the quick search would rarely finish

std::string errorText(int code) {
  std::array<PCRE2_UCHAR, 256> text{};
  const int length = pcre2_get_error_message(code, text.data(), text.size());
  if (length < 0) return "error " + std::to_string(code);
  return std::string(reinterpret_cast<const char*>(text.data()), static_cast<std::size_t>(length));
}

bool containsAny(std::string_view text, std::initializer_list<const char*> parts) {
  return std::any_of(parts.begin(), parts.end(),
                     [text](const char* part) { return text.find(part) != text.npos; });
}

// What PCRE2 10.42 assumes of the place where a match starts is wrong for some expressions, with
// generated code or without. It takes the first byte of a match from a look-ahead at the start, and
// looks for the last byte after the first one: "(?=a)b?a" does not match "ca". It takes a repeated
// atomic group that begins with ".*" for one that matches at the start of a line only:
// "(?:.*?)++x+" does not match "bbbxcxb". And it misjudges groups that refer to themselves. True
// for all such expressions and for some others.
bool misjudgesStarts(std::string_view text) {
  if (containsAny(text, {"(?=", "(?*", "(*", ")++", ")*+", ")?+", "}+", "\\g", "\\k", "(?P="})) {
    return true;
  }
  // Blanks and comments may stand between an item and its repeat.
  if (containsAny(text, {"(?x", "x)", "x:", "x-"}) && text.find('+') != text.npos) return true;
  for (std::size_t i = 0; i + 1 < text.size(); ++i) {
    if (text[i] == '\\' && text[i + 1] >= '1' && text[i + 1] <= '9') return true;
  }
  return false;
}

pcre2_code* compile(const std::string& text, Options options, CompileError& error) {
  const std::uint32_t flags = PCRE2_NEVER_BACKSLASH_C | (options.ignoreCase ? PCRE2_CASELESS : 0u) |
                              (options.utf8 ? PCRE2_UTF : 0u) |
                              (options.metered ? PCRE2_AUTO_CALLOUT : 0u) |
                              (misjudgesStarts(text) ? PCRE2_NO_START_OPTIMIZE : 0u);
  return pcre2_compile(reinterpret_cast<PCRE2_SPTR>(text.data()), text.size(), flags, &error.code,
                       &error.offset, nullptr);
}

// The length of the settings, such as "(*UTF)", which are valid at the start only.
std::size_t leadingSettings(std::string_view text) {
  static constexpr std::string_view kNames[] = {
      "UTF",        "UCP",         "NOTEMPTY",    "NOTEMPTY_ATSTART", "NO_AUTO_POSSESS",
      "CR",         "LF",          "CRLF",        "ANYCRLF",          "ANY",
      "NUL",        "NO_JIT",      "BSR_ANYCRLF", "BSR_UNICODE",      "NO_DOTSTAR_ANCHOR",
      "LIMIT_HEAP", "LIMIT_DEPTH", "LIMIT_MATCH", "LIMIT_RECURSION",  "NO_START_OPT"};
  std::size_t end = 0;
  while (text.substr(end, 2) == "(*") {
    const std::string_view rest = text.substr(end + 2);
    const std::string_view name = rest.substr(0, rest.find_first_of("=)"));
    if (std::find(std::begin(kNames), std::end(kNames), name) == std::end(kNames)) break;
    const std::size_t close = rest.find(')');
    if (close == std::string_view::npos) break;
    end += 2 + close + 1;
  }
  return end;
}

// `text` as one group between two items. Closes an open "\Q" and, with `closeComment`, a comment.
std::string enclosed(const std::string& text, const char* before, const char* after,
                     bool closeComment) {
  const std::size_t settings = leadingSettings(text);
  return text.substr(0, settings) + before + "(?:" + text.substr(settings) + "\\E" +
         (closeComment ? "\n)" : ")") + after;
}

// Generated code remembers where a repeat of one item, such as "b*", has failed. It skips later
// attempts of the repeat that start before that place. In PCRE2 10.42 this is wrong behind groups
// that can take several lengths at one start: groups with alternatives, and atomic groups. An
// example is "(..|^)b*x" on "bxc". A callout at the start of the expression turns off this
// optimisation and no other one.
constexpr const char* kNoEarlyFailure = "(?C)";

// True for all expressions with such groups and for some others.
bool canFailEarly(std::string_view text) {
  constexpr std::string_view kRepeats = "*+{";
  const std::size_t open = text.find('(');
  if (text.find_first_of(kRepeats, open) == text.npos) return false;  // also without "("
  // Atomic groups. "(a){2}+" is one, too; blanks of any alphabet and comments may precede its "+".
  if (text.find("(?>") != text.npos || text.find("(*") != text.npos) return true;
  const bool comments = text.find('#') != text.npos;
  for (std::size_t i = text.find('+'); i != text.npos; i = text.find('+', i + 1)) {
    const std::size_t last = text.substr(0, i).find_last_not_of(" \t\n\v\f\r");
    const char previous = last == text.npos ? ' ' : text[last];
    if (comments || previous == '?' || previous == '}' || previous < 0) return true;
  }
  // A group with alternatives, and a repeat after it or of it.
  const std::size_t close = text.find(')', text.find('|', open));
  return text.find_first_of(kRepeats, close) != text.npos;
}

// Generated code of PCRE2 10.42 also gives wrong answers for some conditions, such as
// "((?!b))*+(?(1)ab{2})". Nothing but the interpreter helps.
bool needsInterpreter(std::string_view text) {
  return text.find("(?(") != text.npos;
}

// Called before every item of a metered program.
int onCallout(pcre2_callout_block* block, void* data) {
  Meter& meter = *static_cast<Meter*>(data);
  const std::size_t now = block->current_position;
  if (block->callout_number == kCheckNumber && meter.rejects != nullptr) {
    const std::string_view subject(reinterpret_cast<const char*>(block->subject),
                                   block->subject_length);
    return meter.rejects(subject, now) ? 1 : 0;
  }
  meter.used += 1 + std::max(now, meter.position) - std::min(now, meter.position);
  meter.position = now;
  return meter.used > meter.allowed ? PCRE2_ERROR_CALLOUT : 0;
}

Status statusOf(int code) {
  if (code >= 0) return Status::kFound;
  if (code <= PCRE2_ERROR_UTF8_ERR1 && code >= PCRE2_ERROR_UTF8_ERR21) return Status::kNotUtf8;
  switch (code) {
    case PCRE2_ERROR_NOMATCH:
      return Status::kNotFound;
    case PCRE2_ERROR_MATCHLIMIT:
    case PCRE2_ERROR_DEPTHLIMIT:
    case PCRE2_ERROR_HEAPLIMIT:
    case PCRE2_ERROR_JIT_STACKLIMIT:
    case PCRE2_ERROR_CALLOUT:
      return Status::kLimit;
    default:
      return Status::kError;
  }
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
    pcre2_set_depth_limit(context_.get(), kDepthLimit);
    pcre2_set_heap_limit(context_.get(), kHeapLimitKib);
    // Null without a code generator; PCRE2's small default stack is unused then, too.
    if (stack_) pcre2_jit_stack_assign(context_.get(), nullptr, stack_.get());
  }

  int search(const pcre2_code* program, std::string_view subject, std::size_t from,
             std::uint32_t options, std::uint32_t matchLimit, Meter* meter) {
    pcre2_set_match_limit(context_.get(), matchLimit);
    pcre2_set_callout(context_.get(), meter != nullptr ? &onCallout : nullptr, meter);
    const char* text = subject.empty() ? "" : subject.data();
    return pcre2_match(program, reinterpret_cast<PCRE2_SPTR>(text), subject.size(), from, options,
                       data_.get(), context_.get());
  }

  std::size_t matchEnd() const { return pcre2_get_ovector_pointer(data_.get())[1]; }

 private:
  std::unique_ptr<pcre2_match_data, decltype(&pcre2_match_data_free)> data_;
  std::unique_ptr<pcre2_match_context, decltype(&pcre2_match_context_free)> context_;
  std::unique_ptr<pcre2_jit_stack, decltype(&pcre2_jit_stack_free)> stack_;
};

}  // namespace

std::string CompileError::reason() const {
  return errorText(code);
}

std::string CompileError::message() const {
  return "regular expression does not compile: " + reason() + " at offset " +
         std::to_string(offset);
}

std::string Result::reason() const {
  return code == PCRE2_ERROR_CALLOUT ? "too much work" : errorText(code);
}

void Program::Free::operator()(pcre2_code* code) const {
  pcre2_code_free(code);
}

Program::Program(const std::string& text, Options options) : code_(compile(text, options, error_)) {
  // Callouts precede all items of a metered expression.
  const bool guarded = !options.metered && canFailEarly(text);
  const char* before = options.checksStart ? kCheck : guarded ? kNoEarlyFailure : "";
  const char* after = options.checksEnd ? kCheck : "";
  // The text must be an expression by itself, and errors give offsets in it. So it was compiled
  // alone first.
  if (code_ && (*before != '\0' || *after != '\0')) {
    code_.reset(compile(enclosed(text, before, after, false), options, error_));
    if (!code_) code_.reset(compile(enclosed(text, before, after, true), options, error_));
  }
  // Where no code can be generated (memory that may not be made executable), it is interpreted.
  if (code_ && !needsInterpreter(text)) pcre2_jit_compile(code_.get(), PCRE2_JIT_COMPLETE);
}

bool Program::isAnchored() const {
  std::uint32_t options = 0;
  pcre2_pattern_info(code_.get(), PCRE2_INFO_ALLOPTIONS, &options);
  return (options & PCRE2_ANCHORED) != 0;
}

Result Program::search(std::string_view subject, std::uint32_t matchLimit, Meter* meter) const {
  const int code = Workspace::ofThisThread().search(code_.get(), subject, 0, 0, matchLimit, meter);
  return {statusOf(code), code};
}

Result Program::next(std::string_view subject, std::size_t from, Meter* meter) const {
  Workspace& workspace = Workspace::ofThisThread();
  const int code = workspace.search(code_.get(), subject, from, PCRE2_NOTEMPTY | PCRE2_NO_UTF_CHECK,
                                    kMatchLimit, meter);
  return {statusOf(code), code, code >= 0 ? workspace.matchEnd() : 0};
}

BoundedProgram::BoundedProgram(const std::string& text, Options options)
    : text_(text),
      options_(options),
      quick_(text, options),
      anchored_(compiled() && quick_.isAnchored()) {}

Result BoundedProgram::search(std::string_view subject) const {
  const std::size_t length = subject.size() + 1;
  const std::size_t starts = anchored_ ? 1 : length;
  const std::size_t limit = std::min<std::size_t>(kMatchLimit, kQuickWork / starts / length);
  if (limit >= kLeastQuickLimit) {
    const Result result = quick_.search(subject, static_cast<std::uint32_t>(limit));
    if (result.status != Status::kLimit || limit == kMatchLimit) return result;
  }
  std::call_once(meteredOnce_, [this] {
    Options metered = options_;
    metered.metered = true;
    metered_.emplace(text_, metered);
  });
  // The callouts can make a program too large to compile.
  if (!metered_->compiled()) return {Status::kLimit, PCRE2_ERROR_MATCHLIMIT};
  Meter meter{kMeteredWork};
  return metered_->search(subject, kMatchLimit, &meter);
}

}  // namespace Kestrav::Pcre
