// Random expressions over few letters, and texts in which they often match.
#pragma once

#include <random>
#include <string>
#include <vector>

namespace Kestrav::Testing {

class Random {
 public:
  explicit Random(unsigned seed) : engine_(seed) {}
  int below(int bound) { return std::uniform_int_distribution<int>(0, bound - 1)(engine_); }
  std::string pick(const std::vector<std::string>& from) {
    return from[static_cast<std::size_t>(below(static_cast<int>(from.size())))];
  }
  std::string text(const std::vector<std::string>& pieces, int most) {
    std::string result;
    for (int i = below(most) + 1; i > 0; --i) result += pick(pieces);
    return result;
  }

 private:
  std::mt19937 engine_;
};

class RandomExpressions {
 public:
  std::string make(Random& random) const {
    std::string expression = random.below(12) == 0 ? random.pick(options_) : "";
    return expression + alternatives(random, 2);
  }

  std::string text(Random& random) const { return random.text(pieces_, 12); }

 private:
  std::string alternatives(Random& random, int depth) const {
    std::string result = sequence(random, depth);
    while (random.below(4) == 0) result += "|" + sequence(random, depth);
    return result;
  }

  std::string sequence(Random& random, int depth) const {
    std::string result;
    for (int i = random.below(4) + 1; i > 0; --i) {
      if (depth > 0 && random.below(4) == 0) {
        result += random.pick(groups_) + alternatives(random, depth - 1) + ")";
      } else {
        result += random.pick(atoms_);
      }
      result += random.pick(repeats_);
    }
    return result;
  }

  const std::vector<std::string> options_ = {"(?i)", "(?s)", "(?x)", "(?-i)", "(?U)", "(*ANYCRLF)"};
  const std::vector<std::string> groups_ = {
      "(", "(", "(?:", "(?>", "(?=", "(?!", "(?<n", "(?i:", "(?|", "(?x:"};
  const std::vector<std::string> atoms_ = {"aab",
                                           "bba",
                                           "aba",
                                           "abk",
                                           "sab",
                                           "a b",
                                           "aa#b",
                                           "\\x61ba",
                                           "\\x{61}ab",
                                           "ab\\.",
                                           "\\141b",
                                           "\\Qab\\E",
                                           "a{b",
                                           "[ab]",
                                           "[^a]",
                                           "[[:alpha:]]",
                                           "[]a]",
                                           "[a[:b]",
                                           ".",
                                           "\\d",
                                           "\\w+",
                                           "\\s",
                                           "\\b",
                                           "\\Kab",
                                           "\\1",
                                           "\\p{L}",
                                           "\\pLa",
                                           "^",
                                           "$",
                                           "\xC3\xA9"
                                           "ab",
                                           "\xE6\xBC\xA2",
                                           "(?#x)ab",
                                           "(*ACCEPT)",
                                           "\\g{1}",
                                           "\\Aab",
                                           "ab:]"};
  const std::vector<std::string> repeats_ = {"",   "",    "",   "",       "",      "",
                                             "+",  "?",   "*",  "{2}",    "{0,2}", "{1,}",
                                             "+?", "{0}", "?+", "{2}{0}", "{,2}"};
  const std::vector<std::string> pieces_ = {
      "a", "b",        "ab",           "ba", "aab",          "A",        "B", "k", "s", " ", ".",
      "#", "\xC3\xA9", "\xE6\xBC\xA2", "{b", "\xE2\x84\xAA", "\xC5\xBF", "1", "]", ":"};
};

}  // namespace Kestrav::Testing
