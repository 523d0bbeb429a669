#include "platform/config/text/YamlTree.h"

#include <yaml-cpp/eventhandler.h>
#include <yaml-cpp/exceptions.h>
#include <yaml-cpp/mark.h>
#include <yaml-cpp/parser.h>

#include <sstream>
#include <string_view>
#include <utility>

#include "platform/config/text/Syntax.h"
#include "platform/config/text/Text.h"
#include "platform/parser/Utf8.h"

namespace Kestrav::Config::Text {
namespace {

struct Stop {
  Problem problem;
};

class TreeBuilder : public YAML::EventHandler {
 public:
  TreeBuilder(const std::string& file, std::string_view content, std::vector<Problem>& problems)
      : file_(file), content_(content), problems_(problems) {}

  YamlNode take() { return std::move(root_); }

  // The start of the last quoted scalar; null when there is none.
  const YAML::Mark& lastQuoted() const { return lastQuoted_; }

  void OnDocumentStart(const YAML::Mark& mark) override {
    if (documents_++ != 0) stop(mark, "a second document", "one document in each file");
  }
  void OnDocumentEnd() override {}

  void OnNull(const YAML::Mark& mark, YAML::anchor_t anchor) override {
    refuseAnchor(mark, anchor);
    refuseTag(mark, {});
    add(node(mark, YamlNode::Kind::kNull));
  }

  void OnAlias(const YAML::Mark& mark, YAML::anchor_t) override {
    stop(mark, "an alias", "the value itself, written out");
  }

  void OnScalar(const YAML::Mark& mark, const std::string& tag, YAML::anchor_t anchor,
                const std::string& value) override {
    refuseAnchor(mark, anchor);
    YamlNode scalar = node(mark, YamlNode::Kind::kScalar);
    scalar.text = value;
    if (tag == "tag:yaml.org,2002:binary") {
      scalar.binary = true;
      // A tag without a value would silently be an empty text.
      if (auto bytes = parseBinary(value); bytes && !bytes->empty()) {
        scalar.text = std::move(*bytes);
      } else {
        problems_.push_back(problem(mark, "bytes that are no base64",
                                    "groups of four letters, digits, '+' or '/', the last one "
                                    "filled up with '='"));
      }
    } else {
      refuseTag(mark, tag);
      if (tag == "!") lastQuoted_ = mark;
    }
    add(std::move(scalar));
  }

  void OnSequenceStart(const YAML::Mark& mark, const std::string& tag, YAML::anchor_t anchor,
                       YAML::EmitterStyle::value) override {
    open(mark, tag, anchor, YamlNode::Kind::kSequence);
  }
  void OnSequenceEnd() override { close(); }
  void OnMapStart(const YAML::Mark& mark, const std::string& tag, YAML::anchor_t anchor,
                  YAML::EmitterStyle::value) override {
    open(mark, tag, anchor, YamlNode::Kind::kMap);
  }
  void OnMapEnd() override { close(); }

 private:
  Problem problem(const YAML::Mark& mark, std::string what, std::string right) const {
    return {file_, mark.line + 1, mark.column + 1, std::move(what), std::move(right)};
  }
  [[noreturn]] void stop(const YAML::Mark& mark, std::string what, std::string right) const {
    throw Stop{problem(mark, std::move(what), std::move(right))};
  }

  void refuseAnchor(const YAML::Mark& mark, YAML::anchor_t anchor) const {
    if (anchor != YAML::NullAnchor) stop(mark, "an anchor", "the value without '&' and a name");
  }

  // The parser gives "?" for a plain value and "!" for a quoted one. The same texts can be written
  // as tags, but then the value begins with '!'.
  void refuseTag(const YAML::Mark& mark, const std::string& tag) const {
    const auto at = static_cast<std::size_t>(mark.pos);
    const bool written = at < content_.size() && content_[at] == '!';
    if (written || (!tag.empty() && tag != "?" && tag != "!")) {
      stop(mark, "a tag", "a value without '!' and a name");
    }
  }

  YamlNode node(const YAML::Mark& mark, YamlNode::Kind kind) {
    if (++nodes_ > kMaximumNodes) {
      stop(mark, "more values than a file may hold",
           "at most " + std::to_string(kMaximumNodes) + "; split the file");
    }
    YamlNode made;
    made.kind = kind;
    made.line = mark.line + 1;
    made.column = mark.column + 1;
    return made;
  }

  void open(const YAML::Mark& mark, const std::string& tag, YAML::anchor_t anchor,
            YamlNode::Kind kind) {
    refuseAnchor(mark, anchor);
    refuseTag(mark, tag);
    if (open_.size() >= static_cast<std::size_t>(kMaximumDepth)) {
      stop(mark, "values nested too deep",
           "at most " + std::to_string(kMaximumDepth) + " lists and maps inside each other");
    }
    open_.push_back(node(mark, kind));
  }

  void close() {
    YamlNode done = std::move(open_.back());
    open_.pop_back();
    add(std::move(done));
  }

  void add(YamlNode made) {
    if (open_.empty()) {
      root_ = std::move(made);
      return;
    }
    YamlNode& parent = open_.back();
    const bool isValue = parent.kind == YamlNode::Kind::kMap && parent.items.size() % 2 == 1;
    if (isValue && made.kind == YamlNode::Kind::kNull) {
      // A missing value has no place. It gets that of its key.
      made.line = parent.items.back().line;
      made.column = parent.items.back().column;
    }
    parent.items.push_back(std::move(made));
  }

  const std::string& file_;
  const std::string_view content_;  // without a byte order mark
  std::vector<Problem>& problems_;
  YamlNode root_;
  std::vector<YamlNode> open_;  // values whose end has not been seen, outermost first
  std::size_t nodes_ = 0;
  int documents_ = 0;
  YAML::Mark lastQuoted_ = YAML::Mark::null_mark();
};

// True when the quote that opens at `mark` is not closed. The parser ends such a text at the end of
// the file, so that one forgotten quote would swallow everything after it.
bool isUnclosedQuote(std::string_view content, const YAML::Mark& mark) {
  if (mark.is_null()) return false;
  auto at = static_cast<std::size_t>(mark.pos);
  if (at >= content.size() || (content[at] != '"' && content[at] != '\'')) return false;
  const char quote = content[at];
  for (++at; at < content.size(); ++at) {
    if (quote == '"' && content[at] == '\\') {
      ++at;
    } else if (content[at] == quote) {
      if (quote == '"' || at + 1 >= content.size() || content[at + 1] != quote) return false;
      ++at;  // a doubled single quote means one
    }
  }
  return true;
}

// The first byte that is not UTF-8 or not a character that YAML allows, or the first line that is
// too long.
std::optional<Problem> badLine(const std::string& file, const std::string& content) {
  int line = 1;
  int column = 1;
  std::size_t start = 0;
  for (std::size_t pos = 0; pos < content.size();) {
    const char32_t c = nextCodePoint(content, pos);
    if (c == kIllFormed) {
      return Problem{file, line, column, "a byte that is no UTF-8", "text in UTF-8"};
    }
    if ((c < 0x20 && c != '\t' && c != '\n' && c != '\r') || c == 0x7f) {
      return Problem{file, line, column, "a control character", "an escape in double quotes"};
    }
    if (c == '\n') {
      ++line;
      column = 1;
      start = pos;
    } else {
      ++column;
      if (pos - start > kMaximumLine) {
        return Problem{file, line, 1, "the line is too long",
                       "at most " + std::to_string(kMaximumLine >> 20) +
                           " MiB; lists and maps over several lines"};
      }
    }
  }
  return std::nullopt;
}

// The parser's message. Some end in a colon and a piece of the text, which may be a secret.
std::string messageOf(const YAML::Exception& exception) {
  return exception.msg.substr(0, exception.msg.find(": "));
}

}  // namespace

std::optional<YamlNode> parseYaml(const std::string& file, const std::string& content,
                                  std::vector<Problem>& problems) {
  if (content.size() > kMaximumSource) {
    problems.push_back({file, 0, 0, "the file is too large",
                        "at most " + std::to_string(kMaximumSource >> 20) + " MiB; split it"});
    return std::nullopt;
  }
  if (const auto bad = badLine(file, content)) {
    problems.push_back(*bad);
    return std::nullopt;
  }
  try {
    std::istringstream stream(content);
    YAML::Parser parser(stream);
    std::string_view text = content;
    if (text.starts_with("\xEF\xBB\xBF")) text.remove_prefix(3);
    TreeBuilder builder(file, text, problems);
    while (parser.HandleNextDocument(builder)) {
    }
    if (isUnclosedQuote(text, builder.lastQuoted())) {
      problems.push_back({file, builder.lastQuoted().line + 1, builder.lastQuoted().column + 1,
                          "a quote that is not closed", "the same quote at the end of the text"});
      return std::nullopt;
    }
    return builder.take();
  } catch (const Stop& stop) {
    problems.push_back(stop.problem);
  } catch (const YAML::Exception& exception) {
    problems.push_back({file, exception.mark.line + 1, exception.mark.column + 1,
                        "no valid YAML: " + messageOf(exception),
                        "lists and maps by indentation, quotes around special characters"});
  }
  return std::nullopt;
}

}  // namespace Kestrav::Config::Text
