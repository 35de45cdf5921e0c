// The grammar of values over tokens, with a work stack of the sink's own in place of recursion. What
// becomes of the values is the sink's matter: one builds them, another keeps only the references.
// A sink has:
//
//   root()                       where a value goes that is in no container
//   empty, full, in_array, wants_key   the state of the open containers
//   open(dict)                   a container begins; false when there is no memory
//   set_key(text)                the key of the next value of the dictionary on top
//   set_name(value, text)        makes `value` a name
//   deliver(value)               a value of the container on top; becomes null
//   finish()                     the container on top is complete; true when it is the root
#pragma once

#include <cstddef>
#include <string_view>

#include "sheaf/base/scope_guard.h"
#include "sheaf/object/object.h"
#include "sheaf/object/parse_buf.h"
#include "sheaf/object/token_reader_internal.h"

namespace sheaf {

constexpr std::size_t kMostNested = 512;  // a container nested deeper reads as null

template <class Sink>
class ValueGrammar {
public:
  ValueGrammar(CPDFBuf& buf, Sink& sink) : tokens_(buf, Sink::kTexts), sink_(sink) {}

  /// One value, after its header where it has one. True with a header, which `ref` then names.
  bool read(PDF_REF& ref) {
    if (!read_value(false))
      return false;
    ref = {sink_.root().as_int(), 0};
    if (sink_.root().tag != kTagInt || ref.num < 0 || !tokens_.take_header(ref.gen))
      return false;
    sink_.root().free();
    read_value(true);
    return true;
  }
  bool skip_space() { return tokens_.skip_space(); }
  bool at_keyword(std::string_view word) { return tokens_.at_keyword(word); }

private:
  bool read_value(bool behind_header);
  bool handle(Token token, CPDFObj& value);
  void open_container(bool dict, CPDFObj& value);
  void skip_container();
  void close_all() {
    while (!sink_.empty())
      sink_.finish();
  }
  // Keywords that cannot be in a container: meeting one means that a closing bracket is missing.
  bool keyword_ends_all() const {
    for (const std::string_view word : {"endobj", "endstream", "stream", "xref", "trailer", "startxref", "obj"}) {
      if (tokens_.keyword == word)
        return true;
    }
    return false;
  }

  TokenReader tokens_;
  Sink& sink_;
};

// Passes a container that is nested too deep, up to its closing bracket.
template <class Sink>
void ValueGrammar<Sink>::skip_container() {
  Freed<CPDFObj> ignored;
  for (std::uint64_t open = 1; open > 0;) {
    switch (tokens_.next(ignored)) {
      case Token::kArrayOpen:
      case Token::kDictOpen:
        ++open;
        break;
      case Token::kArrayClose:
      case Token::kDictClose:
        --open;
        break;
      case Token::kKeyword:
        if (!keyword_ends_all())
          break;
        tokens_.unread_keyword();
        return;
      case Token::kEnd:
        return;
      case Token::kValue:
      case Token::kName:
        break;
    }
  }
}

template <class Sink>
void ValueGrammar<Sink>::open_container(bool dict, CPDFObj& value) {
  if (!sink_.full() && sink_.open(dict))
    return;
  skip_container();
  value.free();
  if (!sink_.empty())
    sink_.deliver(value);
}

// Takes one token inside an open container. True when the whole value is complete.
template <class Sink>
bool ValueGrammar<Sink>::handle(Token token, CPDFObj& value) {
  switch (token) {
    case Token::kValue:
      sink_.deliver(value);
      return false;
    case Token::kName:
      if (sink_.wants_key()) {
        sink_.set_key(tokens_.name);
      } else {
        sink_.set_name(value, tokens_.name);
        sink_.deliver(value);
      }
      return false;
    case Token::kArrayOpen:
    case Token::kDictOpen:
      open_container(token == Token::kDictOpen, value);
      return false;
    case Token::kArrayClose:
      return sink_.in_array() && sink_.finish();
    case Token::kDictClose:
      // Arrays that were left open inside the dictionary end with it.
      while (sink_.in_array()) {
        if (sink_.finish())
          return true;
      }
      return sink_.finish();
    case Token::kKeyword:
      if (keyword_ends_all()) {
        tokens_.unread_keyword();
        close_all();
        return true;
      }
      value.free();
      sink_.deliver(value);
      return false;
    case Token::kEnd:
      close_all();
      return true;
  }
  return true;
}

// One value into the root; false at the end of the data. Tag 10 for a keyword that is no value. After
// a header it makes a null value instead, and stays unread when it ends the object.
template <class Sink>
bool ValueGrammar<Sink>::read_value(bool behind_header) {
  CPDFObj value{};
  const Token first = tokens_.next(value);
  switch (first) {
    case Token::kEnd:
      return false;
    case Token::kValue:
      sink_.root().move_from(value);
      return true;
    case Token::kName:
      sink_.set_name(sink_.root(), tokens_.name);
      return true;
    case Token::kArrayOpen:
    case Token::kDictOpen:
      open_container(first == Token::kDictOpen, value);
      break;
    case Token::kArrayClose:
    case Token::kDictClose:
    case Token::kKeyword:
      if (!behind_header)
        sink_.root().tag = kTagNoValue;
      else if (first == Token::kKeyword && keyword_ends_all())
        tokens_.unread_keyword();
      return true;
  }
  while (!sink_.empty()) {
    if (handle(tokens_.next(value), value))
      break;
  }
  return true;
}

}  // namespace sheaf
