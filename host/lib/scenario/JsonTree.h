#pragma once

// The scenario file as a JSON tree, and the Node every reader walks it with: a value that
// knows its JSON path, so that an error says exactly where and what was expected.

#include <initializer_list>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace nexhost {

// The scenario as parsed. Its objects are sorted maps: a key is found (and a repeated one
// caught) in logarithmic time, however many commands a peer scripts.
using Tree = nlohmann::json;

// Parses the text within scenario_limits; throws ScenarioError naming the line and column
// (or the path) of what is wrong.
Tree parseTree(const std::string& text, const std::string& file);

// A text as a JSON string in ASCII (\uXXXX escapes), whatever its bytes: errors stay on
// one line and never carry raw bytes to a terminal.
std::string quoted(const std::string& text);

class Node {
 public:
  Node(const Tree& value, std::string path, const std::string& file)
      : value_(value), path_(std::move(path)), file_(file) {}

  const Tree& value() const { return value_; }
  const std::string& path() const { return path_; }
  const std::string& file() const { return file_; }

  // "FILE: PATH: expected WHAT, got VALUE"
  [[noreturn]] void fail(const std::string& expected) const;
  // "FILE: PATH: PROBLEM"
  [[noreturn]] void refuse(const std::string& problem) const;

  // An object whose keys all come from `allowed`.
  void requireObject(const std::string& what, std::initializer_list<const char*> allowed) const {
    requireKeys(what, allowed.begin(), allowed.end());
  }
  void requireKeys(const std::string& what, const char* const* begin, const char* const* end) const;

  std::optional<Node> find(const std::string& key) const;
  Node at(const std::string& key, const std::string& what) const;
  std::vector<Node> elements(const std::string& what, std::size_t max) const;
  std::vector<std::pair<std::string, Node>> members(const std::string& what, std::size_t max) const;

  long long integer(long long min, long long max) const;
  // A float's range is checked before the conversion, which would be undefined beyond it.
  float real32() const;
  std::string text(const std::string& what, std::size_t maxBytes) const;
  bool flag() const;
  // A record's one-byte valid flag: any byte value, or true and false for 1 and 0.
  uint8_t flagByte() const;
  // A byte text in the escape form: \xNN is that byte, any other character its UTF-8 bytes.
  std::string bytes(const std::string& what, std::size_t maxBytes) const;
  // Hex digit pairs, blanks allowed between pairs (as a modem log prints them).
  std::vector<uint8_t> hex(const std::string& what) const;

 private:
  const Tree& value_;
  std::string path_;
  const std::string& file_;
};

}  // namespace nexhost
