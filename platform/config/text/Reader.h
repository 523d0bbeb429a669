// Makes a Configuration from parsed texts. Records every mistake; none ends the reading.
//
// Call readDocument() for each text, then finish(), which resolves names and compares records. The
// sources outlive the reader. For one thread.
#pragma once

#include <cstddef>
#include <map>
#include <optional>
#include <string>
#include <type_traits>
#include <unordered_map>
#include <utility>
#include <vector>

#include "platform/config/records/Field.h"
#include "platform/config/text/Configuration.h"
#include "platform/config/text/Nearest.h"
#include "platform/config/text/Problem.h"
#include "platform/config/text/SecretText.h"
#include "platform/config/text/Syntax.h"
#include "platform/config/text/Text.h"
#include "platform/config/text/YamlTree.h"

namespace Kestrav::Config::Text {

class Reader {
 public:
  explicit Reader(std::vector<Problem>& problems) : problems_(problems) {}

  void readDocument(const Source& source, const YamlNode& root);
  // The result. Meaningful only when there are no mistakes.
  Configuration finish();

  // For tests.
  struct Effort {
    std::size_t lists = 0;        // lists of names that were prepared for searches
    std::size_t suggestions = 0;  // searches for what a mistyped word meant
  };
  const Effort& effort() const { return effort_; }

 private:
  friend class RecordReader;

  struct Place {
    std::size_t file = 0;
    int line = 0;
    int column = 0;
  };

  // A name whose record is looked up after all texts have been read.
  struct Reference {
    std::size_t record;
    std::vector<Configuration::Step> path;
    const Field* field;
    std::string name;
    Place place;
  };

  Place placeOf(const YamlNode& node) const { return {files_.size() - 1, node.line, node.column}; }
  std::string toString(const Place& place) const;

  // Records a problem. `right` is a text or a function that returns it. The function is not called
  // when kMaximumProblems are recorded already.
  template <class Right>
  void problem(const Place& place, const Phrase& what, Right right,
               Severity severity = Severity::kMistake) {
    if (recorded_[static_cast<std::size_t>(severity)] >= kMaximumProblems) return;
    if constexpr (std::is_invocable_v<Right&>) {
      record(place, what, right(), severity);
    } else {
      record(place, what, std::move(right), severity);
    }
  }
  template <class Right>
  void problem(const YamlNode& node, const Phrase& what, Right right) {
    problem(placeOf(node), what, std::move(right));
  }
  void problem(const YamlNode& node, Mistake mistake) {
    problem(placeOf(node), mistake.what, std::move(mistake.wouldBeRight));
  }
  void record(const Place& place, const Phrase& what, std::string right, Severity severity);

  // "'key'" for the known key that is closest to `word`, else "one of" these.
  std::string suggestion(const std::string& word, std::vector<std::string> known);

  // The text up to the first character that no key has: "pass-phrase" of "pass-phrase x".
  static std::string keyIn(const std::string& text);
  // A key as messages show it, up to the first character that no key has. One that no record has
  // may be a misplaced secret: it is hidden when it has no value or when `type` (null for none)
  // holds secrets.
  static Phrase shownKey(const YamlNode& key, const YamlNode& value, const RecordType* type);

  // Calls visit(key, value) for each pair of a map. A key that occurs twice or is no text is a
  // problem. A null node is an empty map. `type` as in shownKey().
  template <class Visit>
  void walk(const YamlNode& node, const std::string& what, const RecordType* type, Visit visit);

  void readTables(const YamlNode& node, std::size_t space);
  void readTable(const Table& table, const YamlNode& key, const YamlNode& value, std::size_t space);
  void readList(const Table& table, const YamlNode& value, std::size_t space, std::size_t owner);
  void readRecord(const Table& table, const YamlNode& node, std::size_t space, std::size_t owner);
  void readConfiguration(std::size_t domain, const YamlNode* contents);
  void noteName(std::size_t record, const YamlNode& node);

  // References.cc
  std::size_t find(G_CLI_GID table, std::size_t space, const std::string& name) const;
  // The names of the table's records in one space; null for none.
  const WordList* namesOf(G_CLI_GID table, std::size_t space);
  std::string suggestionFor(const Reference& reference);
  void resolve(const Reference& reference);
  bool resolveText(const Reference& reference);
  void checkIds();
  void checkAliases();
  void checkDictionaryNames();

  // DictionaryCosts.cc
  void checkDictionaryCosts();
  // `set`: a dictionary or a group. False when something would be left out because of other items.
  bool checkSet(std::size_t set, const std::vector<std::size_t>& items, bool firstCheck);

  std::vector<Problem>& problems_;
  std::size_t recorded_[2] = {};  // problems by severity
  Configuration configuration_;
  std::vector<const Source*> files_;                // the last one is being read
  std::map<std::size_t, SecretLines> secretLines_;  // of files with problems
  std::vector<Place> places_;                       // of each record
  std::vector<Reference> references_;
  std::map<std::pair<G_CLI_GID, std::size_t>, std::unordered_map<std::string, std::size_t>> names_;
  std::map<std::pair<G_CLI_GID, std::size_t>, WordList> words_;  // of names_, sorted
  std::map<G_CLI_GID, Place> singles_;                           // settings that were given
  Effort effort_;
};

template <class Visit>
void Reader::walk(const YamlNode& node, const std::string& what, const RecordType* type,
                  Visit visit) {
  if (node.kind == YamlNode::Kind::kNull) return;
  if (node.kind != YamlNode::Kind::kMap) {
    problem(node, "a list or a single value for " + what, "a map of 'key: value' lines");
    return;
  }
  std::map<std::string_view, const YamlNode*> seen;
  for (std::size_t i = 0; i + 1 < node.items.size(); i += 2) {
    const YamlNode& key = node.items[i];
    if (key.kind != YamlNode::Kind::kScalar || key.binary) {
      problem(key, "a key that is no word", "a word in front of ':'");
      continue;
    }
    const auto [at, added] = seen.emplace(key.text, &key);
    if (!added) {
      problem(key, "the key " + shownKey(key, node.items[i + 1], type) + " occurs twice",
              "one of them; the first is in line " + std::to_string(at->second->line));
      continue;
    }
    visit(key, node.items[i + 1]);
  }
}

// Reads the fields of one record, including its lists and embedded records.
class RecordReader {
 public:
  using Pair = std::pair<const YamlNode*, const YamlNode*>;

  RecordReader(Reader& reader, std::size_t record) : reader_(reader), record_(record) {}

  // Keys of `extras` are not read but returned.
  std::vector<Pair> read(const YamlNode& node, const Table& table,
                         const std::vector<std::string>& extras);

 private:
  using Path = std::vector<Configuration::Step>;

  void readFields(const RecordType& type, void* base, const YamlNode& node, const Path& path,
                  const std::string& what, std::string_view hidden,
                  const std::vector<std::string>& extras, std::vector<Pair>* found);
  void readField(const RecordType& type, const Field& field, void* base, const YamlNode& node,
                 const Path& path);
  void readScalar(const RecordType& type, const Field& field, void* base, const YamlNode& node,
                  const Path& path);
  void readText(const Field& field, void* base, const YamlNode& node);

  void readNumber(const Field& field, void* base, const YamlNode& node);
  void readWord(const Field& field, void* base, const YamlNode& node);
  void readReference(const Field& field, void* base, const YamlNode& node, const Path& path);
  void readEntries(const Field& field, void* base, const YamlNode& node, const Path& path);
  void readCriterion(const RecordType& type, const Criterion& criterion, void* base,
                     const YamlNode& node, const Path& path);
  void checkPattern(const RecordType& type, const void* base, const YamlNode& node);
  void checkRewriting(const RecordType& type, const YamlNode& node);
  OwnedRecord& record() { return reader_.configuration_.records_[record_].record; }

  Reader& reader_;
  std::size_t record_;
};

// The fields that the text form writes: not the reserved ones, not those that loading fills in, not
// parts of a criterion. Leaves out the field `hidden` (the reference to the owner); empty for none.
std::vector<const Field*> visibleFields(const RecordType& type, std::string_view hidden = {});

// The field that a single value in place of a map gives: the first required one, else the first.
const Field& loneField(const RecordType& type, std::string_view hidden = {});

// The keys of a record of the table other than its fields and criteria.
std::vector<std::string> extraKeys(const Table& table);

// A name in the form used for comparison: domains in lower case.
std::string comparable(G_CLI_GID table, std::string_view name);

inline constexpr std::int64_t kGreatestId = 2147483647;

}  // namespace Kestrav::Config::Text
