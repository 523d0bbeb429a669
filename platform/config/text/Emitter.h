// Writes YAML in block style without tags and aliases. Quotes only texts that need them.
#pragma once

#include <iosfwd>
#include <string>
#include <string_view>

namespace Kestrav::Config::Text {

class Emitter {
 public:
  explicit Emitter(std::ostream& out) : out_(out) {}

  // "key: value"; the value is written unchanged.
  void pair(std::string_view key, std::string_view value);
  // As above, for a text that may need quotes, escapes or several lines.
  void text(std::string_view key, std::string_view value);
  // A list entry that is a single text.
  void item(std::string_view value);

  // Starts the value of the key, which ends at close().
  void open(std::string_view key);
  void close() { indent_ -= 2; }
  // Starts a map in a list, which ends at closeItem().
  void openItem();
  void closeItem();

  void comment(std::string_view line);
  void blank();

  // One text as a single-line scalar.
  static std::string quoted(std::string_view text);

 private:
  void line(std::string_view content);

  std::ostream& out_;
  int indent_ = 0;
  bool dash_ = false;  // the next line begins an entry of a list
};

}  // namespace Kestrav::Config::Text
