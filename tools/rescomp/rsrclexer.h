// The tokens of the resource text form: names, quoted strings with their
// escapes, numbers and the punctuation `{ } [ ] = : ,`; `#` starts a
// comment that runs to the end of the line.
#ifndef OWB_TOOLS_RESCOMP_RSRCLEXER_H
#define OWB_TOOLS_RESCOMP_RSRCLEXER_H

#include <cctype>
#include <cstdlib>
#include <string>

namespace rsrc {

// A mistake in the text, at its line.
struct ParseError {
  int line;
  std::string text;
};

enum TokKind { kEnd, kIdent, kString, kInt, kPunct };
struct Token {
  TokKind kind = kEnd;
  std::string text;
  long value = 0;
  int line = 0;
};

// Reads tokens from src, which must outlive the lexer; a malformed token
// throws ParseError.
class Lexer {
 public:
  explicit Lexer(const std::string& src) : src_(src) {}

  Token next() {
    skipSpace();
    Token t;
    t.line = line_;
    if (pos_ >= src_.size()) return t;
    char c = src_[pos_];
    if (std::isalpha(static_cast<unsigned char>(c)) || c == '_') {
      size_t from = pos_;
      while (pos_ < src_.size() && (std::isalnum(static_cast<unsigned char>(src_[pos_])) || src_[pos_] == '_')) ++pos_;
      t.kind = kIdent;
      t.text = src_.substr(from, pos_ - from);
    } else if (std::isdigit(static_cast<unsigned char>(c)) || (c == '-' && pos_ + 1 < src_.size() &&
                                                               std::isdigit(static_cast<unsigned char>(src_[pos_ + 1])))) {
      size_t from = pos_;
      ++pos_;
      while (pos_ < src_.size() && std::isalnum(static_cast<unsigned char>(src_[pos_]))) ++pos_;
      t.kind = kInt;
      t.text = src_.substr(from, pos_ - from);
      char* end = nullptr;
      t.value = std::strtol(t.text.c_str(), &end, 0);
      if (!end || *end) throw ParseError{line_, "bad number " + t.text};
    } else if (c == '"') {
      t.kind = kString;
      t.text = readString();
    } else if (std::string("{}[]=:,").find(c) != std::string::npos) {
      t.kind = kPunct;
      t.text = std::string(1, c);
      ++pos_;
    } else {
      throw ParseError{line_, std::string("unexpected character '") + c + "'"};
    }
    return t;
  }

 private:
  void skipSpace() {
    while (pos_ < src_.size()) {
      char c = src_[pos_];
      if (c == '\n') ++line_, ++pos_;
      else if (std::isspace(static_cast<unsigned char>(c))) ++pos_;
      else if (c == '#') while (pos_ < src_.size() && src_[pos_] != '\n') ++pos_;
      else break;
    }
  }

  std::string readString() {
    std::string out;
    ++pos_;
    for (;;) {
      if (pos_ >= src_.size() || src_[pos_] == '\n') throw ParseError{line_, "unterminated string"};
      char c = src_[pos_++];
      if (c == '"') return out;
      if (c != '\\') {
        out.push_back(c);
        continue;
      }
      if (pos_ >= src_.size()) throw ParseError{line_, "unterminated string"};
      char e = src_[pos_++];
      switch (e) {
        case 'n': out.push_back('\n'); break;
        case 't': out.push_back('\t'); break;
        case '\\': out.push_back('\\'); break;
        case '"': out.push_back('"'); break;
        case 'x': {
          if (pos_ + 2 > src_.size()) throw ParseError{line_, "bad \\x escape"};
          std::string hex = src_.substr(pos_, 2);
          char* end = nullptr;
          long v = std::strtol(hex.c_str(), &end, 16);
          if (!end || *end) throw ParseError{line_, "bad \\x escape"};
          out.push_back(static_cast<char>(v));
          pos_ += 2;
          break;
        }
        default: throw ParseError{line_, std::string("unknown escape \\") + e};
      }
    }
  }

  const std::string& src_;
  size_t pos_ = 0;
  int line_ = 1;
};

}  // namespace rsrc

#endif  // OWB_TOOLS_RESCOMP_RSRCLEXER_H
