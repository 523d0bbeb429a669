// Text of a message that may quote the configuration.
#pragma once

#include <string>
#include <string_view>
#include <utility>

namespace Kestrav::Config::Text {

// A value. Has two forms, so that a message at the place of a secret can leave out what it quotes.
class Phrase {
 public:
  Phrase(std::string text) : full_(text), masked_(std::move(text)) {}
  Phrase(std::string_view text) : Phrase(std::string(text)) {}
  Phrase(const char* text) : Phrase(std::string(text)) {}
  Phrase(std::string full, std::string masked)
      : full_(std::move(full)), masked_(std::move(masked)) {}

  const std::string& full() const { return full_; }
  const std::string& masked() const { return masked_; }

  friend Phrase operator+(Phrase left, const Phrase& right) {
    left.full_ += right.full_;
    left.masked_ += right.masked_;
    return left;
  }

 private:
  std::string full_;
  std::string masked_;
};

// A text of the configuration: quoted, shortened, on one line; masked: '...'. Ends after the name
// of a secret's key, in front of the data of a private key, and after `most` bytes.
Phrase shown(std::string_view text, std::size_t most = std::string_view::npos);

// What another component says about a text of the configuration, and may quote of it.
inline Phrase reason(std::string_view text) {
  return {std::string(text), "..."};
}

}  // namespace Kestrav::Config::Text
