// Converts text from one charset to another on its way to a medium. Text may arrive in pieces that
// end anywhere, also within a character. Belongs to one thread at a time; the medium must outlive
// it.
#pragma once

#include <cstddef>
#include <memory>
#include <string>

#include "platform/common/Buffer.h"
#include "platform/common/Export.h"
#include "platform/parser/Media.h"

namespace Kestrav {

class KESTRAV_API VexaConv : public MediaOut {
 public:
  // Each flag switches on what the setter of the same name does.
  static constexpr unsigned kSubstituteUnknown = 0x1;
  static constexpr unsigned kRetryOnFailure = 0x2;

  static constexpr int kUnknownCharset = 6;  // code of the Exception that fromUtf8 throws

  // Charsets go by any name that ICU knows, case ignored. An unknown one does not throw: ok() is
  // false then, and what is written goes nowhere.
  VexaConv(MediaOut& out, const std::string& from, const std::string& to, unsigned flags);
  ~VexaConv() override;
  VexaConv(const VexaConv&) = delete;
  VexaConv& operator=(const VexaConv&) = delete;

  // A character that cannot be converted, and a byte sequence that is none in the source charset,
  // is left out (false) or replaced by the target's substitute (true). It is counted either way.
  // Holds for what is written afterwards.
  void substitute_unknown(bool on);

  // A character without an exact counterpart is tried again with the charset's one-way
  // approximations (true) before it counts as not convertible. Holds for what is written
  // afterwards.
  void retry_on_failure(bool on);

  bool ok() const;

  // Characters that could not be converted so far. A character cut off by the end is known, and
  // counted, only after end().
  std::size_t terrCnt() const;

  void write(const char* data, std::size_t size) override;

  // Also ends the medium. What is written afterwards is ignored.
  void end() override;

  // The whole text at once. Throws Exception with the code kUnknownCharset when there is no charset
  // of that name. Characters without counterpart are treated as `flags` say.
  static Buffer fromUtf8(const std::string& text, const std::string& charset, unsigned flags);

 private:
  struct Impl;
  std::unique_ptr<Impl> impl_;
};

}  // namespace Kestrav
