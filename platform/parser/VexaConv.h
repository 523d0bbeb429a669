// Converts text between charsets and writes it to a medium, which must outlive the converter.
// Pieces of text may end within a character. Not thread-safe.
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
  // Each flag calls the setter of the same name with true.
  static constexpr unsigned kSubstituteUnknown = 0x1;
  static constexpr unsigned kRetryOnFailure = 0x2;

  static constexpr int kUnknownCharset = 6;  // code of fromUtf8's Exception

  // Charsets have any name known to ICU, in any case. With an unknown one ok() is false and written
  // text is discarded.
  VexaConv(MediaOut& out, const std::string& from, const std::string& to, unsigned flags);
  ~VexaConv() override;
  VexaConv(const VexaConv&) = delete;
  VexaConv& operator=(const VexaConv&) = delete;

  // A character that cannot be converted, or an invalid byte sequence, is omitted (false) or
  // replaced by the target's substitute (true), and counted. Applies to later writes.
  void substitute_unknown(bool on);

  // With true, the charset's one-way approximations are tried for a character without an exact
  // equivalent before it counts as not convertible. Applies to later writes.
  void retry_on_failure(bool on);

  bool ok() const;

  // Characters that could not be converted so far. end() counts an incomplete character at the end.
  std::size_t terrCnt() const;

  void write(const char* data, std::size_t size) override;

  // Also ends the medium. Later writes are ignored.
  void end() override;

  // Throws Exception, code kUnknownCharset. `flags` apply to characters without an equivalent.
  static Buffer fromUtf8(const std::string& text, const std::string& charset, unsigned flags);

 private:
  struct Impl;
  std::unique_ptr<Impl> impl_;
};

}  // namespace Kestrav
