// Writes YAML in block style, the way people write it: no tags, no aliases, quotes only where they
// are needed.
#pragma once

#include <iosfwd>
#include <string>
#include <string_view>

namespace Kestrav::Config::Text {

class Emitter {
 public:
  explicit Emitter(std::ostream& out) : out_(out) {}

  // "key: value"; the value as it is.
  void pair(std::string_view key, std::string_view value);
  // The same with a text that may need quotes, escapes or several lines.
  void text(std::string_view key, std::string_view value);
  // An entry of a list that is a single text.
  void item(std::string_view value);

  // What follows is the value of the key, until close().
  void open(std::string_view key);
  void close() { indent_ -= 2; }
  // What follows is a map in a list, until closeItem().
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
