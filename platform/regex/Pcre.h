// PCRE2: programs compiled to machine code, and searches whose work is bounded.
//
// Programs are immutable; any number of threads may search with one. Match data and stack belong to
// the thread.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>

struct pcre2_real_code_8;

namespace Kestrav::Pcre {

struct Options {
  bool ignoreCase = false;
  bool utf8 = false;     // expression and subjects are UTF-8, otherwise single bytes
  bool metered = false;  // counts its work in the search's Meter
  // Of a metered expression: kCheck before and after it.
  bool checksStart = false;
  bool checksEnd = false;
};

struct CompileError {
  int code = 0;
  std::size_t offset = 0;

  std::string reason() const;
  // "regular expression does not compile: REASON at offset N"
  std::string message() const;
};

enum class Status {
  kFound,
  kNotFound,
  kLimit,    // given up after too much work
  kNotUtf8,  // the subject of a UTF-8 program
  kError,
};

struct Result {
  Status status;
  int code;             // PCRE2's
  std::size_t end = 0;  // of the match of Program::next

  std::string reason() const;  // unless found
};

// Limits the work of metered searches: one for each item tried, one for each byte moved.
struct Meter {
  std::size_t allowed;
  // Called with the subject and the position where a metered expression contains kCheck; true fails
  // this path of the search. Optional.
  bool (*rejects)(std::string_view subject, std::size_t position) = nullptr;
  std::size_t used = 0;
  std::size_t position = 0;
};

// The number is high so that no configured expression uses it by chance.
inline constexpr const char* kCheck = "(?C251)";

// The steps allowed from each place where a match could start.
inline constexpr std::uint32_t kMatchLimit = 100'000;

class Program {
 public:
  Program(const std::string& text, Options options);

  bool compiled() const { return code_ != nullptr; }
  const CompileError& error() const { return error_; }
  // Matches can start at the subject's start only. REQUIRES: compiled().
  bool isAnchored() const;

  // The first match in the whole subject. REQUIRES: compiled().
  Result search(std::string_view subject, std::uint32_t matchLimit = kMatchLimit,
                Meter* meter = nullptr) const;

  // The first match from `from` on that is not empty. REQUIRES: compiled(); the subject is valid
  // UTF-8.
  Result next(std::string_view subject, std::size_t from, Meter* meter = nullptr) const;

 private:
  struct Free {
    void operator()(pcre2_real_code_8* code) const;
  };
  CompileError error_;
  std::unique_ptr<pcre2_real_code_8, Free> code_;
};

// An expression whose searches are bounded as a whole.
//
// PCRE2's match limit is not such a bound: counting restarts at every place, and generated code
// counts a whole run of a repeated character as one step. So a search first gets a limit that keeps
// the total small even then. A search that exceeds it is repeated with a metered program.
class BoundedProgram {
 public:
  BoundedProgram(const std::string& text, Options options);

  bool compiled() const { return quick_.compiled(); }
  const CompileError& error() const { return quick_.error(); }

  // REQUIRES: compiled().
  Result search(std::string_view subject) const;

 private:
  std::string text_;
  Options options_;
  Program quick_;
  bool anchored_;
  mutable std::once_flag meteredOnce_;
  mutable std::optional<Program> metered_;
};

}  // namespace Kestrav::Pcre
