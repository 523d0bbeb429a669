#include "platform/dictionary/DictionaryItem.h"

#include "platform/common/Exception.h"
#include "platform/common/Strings.h"
#include "platform/dictionary/WildcardTranslation.h"
#include "platform/dictionary/Words.h"

namespace Kestrav::Dictionary {
namespace {

bool isBlank(const std::string& normalisedText) {
  return normalisedText.empty() || normalisedText == " ";
}

std::string withoutOuterBlanks(std::string text) {
  if (!text.empty() && text.back() == ' ') text.pop_back();
  if (!text.empty() && text.front() == ' ') text.erase(0, 1);
  return text;
}

}  // namespace

std::shared_ptr<const Item> makeItem(const __vexa_dictionary_item& record) {
  auto item = std::make_shared<Item>();
  item->text = std::string(boundedText(record.text));
  if (record.enabled == 0 || isBlank(normalised(item->text, false))) return nullptr;
  item->caseSensitive = record.case_sensitive != 0;
  item->wholeWords = record.whole_words != 0;
  item->score = record.score;
  if (record.max_count != 0) item->mostMatches = record.max_count;
  item->scope = record.scope;

  CountedExpression::Options options;
  options.ignoreCase = !item->caseSensitive;
  options.startsWord = options.endsWord = item->wholeWords;
  switch (static_cast<DictionaryPatternKind>(record.kind)) {
    case DictionaryPatternKind::kLiteral:
      item->literal = withoutOuterBlanks(normalised(item->text, !item->caseSensitive));
      return item;
    case DictionaryPatternKind::kWildcard: {
      const std::string trimmed = withoutOuterBlanks(normalised(item->text, false));
      const TranslatedWildcard translated = translateWildcard(trimmed);
      options.startsWord = item->wholeWords && !translated.openStart;
      item->gate = translated.gate;
      item->expression = std::make_unique<CountedExpression>(translated.expression, options);
      return item;
    }
    case DictionaryPatternKind::kRegex:
      item->gate = item->text;
      item->gateIsExpression = !item->wholeWords;
      item->expression = std::make_unique<CountedExpression>(item->text, options);
      return item;
  }
  throw Exception("unknown kind " + std::to_string(record.kind), Exception::kBadText,
                  "DictionaryItem");
}

}  // namespace Kestrav::Dictionary
