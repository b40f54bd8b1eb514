// The scenario's JSON tree within scenario_limits, and the paths and previews its errors
// name.
#include "scenario/JsonTree.h"

#include <algorithm>
#include <cctype>
#include <cmath>
#include <limits>

#include "io/RegularFile.h"
#include "scenario/Scenario.h"
#include "text/ByteText.h"

namespace nexhost {

namespace {

namespace limits = scenario_limits;

constexpr std::size_t kPreviewChars = 40;  // of a rejected value, in an error

bool isIdentifier(const std::string& key) {
  if (key.empty() || std::isdigit(static_cast<unsigned char>(key[0]))) return false;
  for (char c : key) {
    if (!std::isalnum(static_cast<unsigned char>(c)) && c != '_') return false;
  }
  return true;
}

// A key longer than an error shows is cut there too: keys can be as long as the file.
std::string childPath(const std::string& path, const std::string& key) {
  if (key.size() > kPreviewChars) return childPath(path, key.substr(0, kPreviewChars - 3) + "...");
  if (!isIdentifier(key)) return path + "[" + quoted(key) + "]";
  return path.empty() ? key : path + "." + key;
}

std::string indexPath(const std::string& path, std::size_t index) {
  return path + "[" + std::to_string(index) + "]";
}

// A value as compact JSON, rendered only as far as an error shows it: a rejected value may
// be megabytes long. Recursion is bounded by the tree's depth limit.
void renderPreview(const Tree& value, std::string* out) {
  if (value.is_string()) {
    *out += quoted(value.get_ref<const std::string&>().substr(0, kPreviewChars));
  } else if (value.is_array() || value.is_object()) {
    *out += value.is_array() ? '[' : '{';
    bool first = true;
    for (auto it = value.begin(); it != value.end() && out->size() <= kPreviewChars; ++it) {
      if (!first) *out += ',';
      first = false;
      if (value.is_object()) *out += quoted(it.key().substr(0, kPreviewChars)) + ":";
      renderPreview(*it, out);
    }
    *out += value.is_array() ? ']' : '}';
  } else if (value.is_number_float() && !std::isfinite(value.get<double>())) {
    *out += std::to_string(value.get<double>());  // "inf": JSON has no word for it
  } else {
    *out += value.dump();
  }
}

std::string preview(const Tree& value) {
  std::string text;
  renderPreview(value, &text);
  if (text.size() > kPreviewChars) text = text.substr(0, kPreviewChars - 3) + "...";
  return text;
}

// "line L, column C" of a byte offset in the text, both counted from 1.
std::string placeOf(const std::string& text, std::size_t offset) {
  std::size_t line = 1;
  std::size_t column = 1;
  for (std::size_t i = 0; i < offset && i < text.size(); ++i) {
    if (text[i] == '\n') {
      ++line;
      column = 1;
    } else {
      ++column;
    }
  }
  return "line " + std::to_string(line) + ", column " + std::to_string(column);
}

// Builds the tree from the parser's events, refusing what a tree would silently lose or
// what would make later walks costly: a key given twice (the tree keeps one), nesting
// past kDepth, numbers a double cannot hold, lists and objects far past every count a
// scenario allows (one over is left to the walk, whose message names what the count is).
class TreeBuilder : public nlohmann::json_sax<Tree> {
 public:
  explicit TreeBuilder(const std::string& text) : text_(text) {}

  Tree& root() { return root_; }
  // Where and what went wrong, once a parse has failed.
  const std::string& errorPath() const { return errorPath_; }
  const std::string& problem() const { return problem_; }

  bool null() override { return scalar(nullptr); }
  bool boolean(bool v) override { return scalar(v); }
  bool number_integer(number_integer_t v) override { return scalar(v); }
  bool number_unsigned(number_unsigned_t v) override { return scalar(v); }
  bool number_float(number_float_t v, const string_t&) override { return scalar(v); }
  bool string(string_t& v) override { return scalar(std::move(v)); }
  bool binary(binary_t&) override { return false; }  // never in JSON text
  bool start_object(std::size_t) override { return open(Tree::object()); }
  bool start_array(std::size_t) override { return open(Tree::array()); }
  bool end_object() override { return close(); }
  bool end_array() override { return close(); }
  bool key(string_t& key) override {
    Frame& frame = open_.back();
    if (frame.container->contains(key)) {
      return refuse(childPath(pathOfOpen(), key), "repeated key; each key may appear once");
    }
    frame.key = std::move(key);
    return true;
  }
  bool parse_error(std::size_t position, const std::string& token,
                   const nlohmann::detail::exception& e) override {
    if (e.id == 406) {  // number overflow: the position is the number's end
      const std::size_t start = position >= token.size() ? position - token.size() : 0;
      return refuse("", placeOf(text_, start) +
                            ": expected a number from -1.8e308 to 1.8e308, got " +
                            shortened(token));
    }
    std::string what = e.what();
    const std::size_t syntax = what.find("syntax error");
    if (syntax != std::string::npos) what = what.substr(syntax);
    // The parser quotes the whole token it stopped in, which may be the rest of the file.
    const std::string marker = "; last read: '";
    const std::size_t lastRead = what.find(marker);
    if (lastRead != std::string::npos && token.size() > kPreviewChars) {
      what.replace(lastRead + marker.size(), token.size(), shortened(token));
    }
    return refuse("", placeOf(text_, position == 0 ? 0 : position - 1) + ": expected valid JSON (" +
                          what + ")");
  }

 private:
  struct Frame {
    Tree* container;
    std::string key;  // of an object: the member being read
  };

  static std::string shortened(const std::string& token) {
    return token.size() <= kPreviewChars ? token : token.substr(0, kPreviewChars - 3) + "...";
  }

  bool scalar(Tree&& v) { return put(std::move(v)) != nullptr; }
  // The value's place in the tree, or nullptr once the parse is refused.
  Tree* put(Tree&& v) {
    if (open_.empty()) {
      root_ = std::move(v);
      return &root_;
    }
    Frame& frame = open_.back();
    if (frame.container->is_array()) {
      if (frame.container->size() > limits::kListItems) {
        refuse(pathOfOpen(),
               "expected a list of at most " + std::to_string(limits::kListItems) + " items");
        return nullptr;
      }
      frame.container->push_back(std::move(v));
      return &frame.container->back();
    }
    if (frame.container->size() > limits::kObjectMembers) {
      refuse(pathOfOpen(), "expected an object of at most " +
                               std::to_string(limits::kObjectMembers) + " members");
      return nullptr;
    }
    return &frame.container->get_ref<Tree::object_t&>()
                .emplace(frame.key, std::move(v))
                .first->second;
  }
  bool open(Tree&& container) {
    if (open_.size() == static_cast<std::size_t>(limits::kDepth)) {
      return refuse(pathOfNext(),
                    "nested deeper than " + std::to_string(limits::kDepth) + " levels");
    }
    Tree* added = put(std::move(container));
    if (added == nullptr) return false;
    open_.push_back({added, ""});
    return true;
  }
  bool close() {
    open_.pop_back();
    return true;
  }
  bool refuse(std::string path, std::string problem) {
    errorPath_ = std::move(path);
    problem_ = std::move(problem);
    return false;
  }
  // The path of the innermost open container.
  std::string pathOfOpen() const {
    std::string path;
    for (std::size_t i = 0; i + 1 < open_.size(); ++i) {
      const Tree& c = *open_[i].container;
      path = c.is_array() ? indexPath(path, c.size() - 1) : childPath(path, open_[i].key);
    }
    return path;
  }
  // The path of the value the parser reads next.
  std::string pathOfNext() const {
    if (open_.empty()) return "";
    const Frame& last = open_.back();
    return last.container->is_array() ? indexPath(pathOfOpen(), last.container->size())
                                      : childPath(pathOfOpen(), last.key);
  }

  const std::string& text_;
  Tree root_;
  std::vector<Frame> open_;
  std::string errorPath_;
  std::string problem_;
};

}  // namespace

std::string quoted(const std::string& text) {
  return Tree(text).dump(-1, ' ', true, Tree::error_handler_t::replace);
}

Tree parseTree(const std::string& text, const std::string& file) {
  if (text.size() > limits::kFileBytes) {
    throw ScenarioError(file, "", "larger than " + mebibytes(limits::kFileBytes));
  }
  // The parser would take a NUL byte for the end of the text and ignore the rest.
  const std::size_t nul = text.find('\0');
  if (nul != std::string::npos) {
    throw ScenarioError(file, "", placeOf(text, nul) + ": expected valid JSON, got a NUL byte");
  }
  TreeBuilder builder(text);
  if (!Tree::sax_parse(text, &builder)) {
    throw ScenarioError(file, builder.errorPath(), builder.problem());
  }
  return std::move(builder.root());
}

void Node::fail(const std::string& expected) const {
  throw ScenarioError(file_, path_, "expected " + expected + ", got " + preview(value_));
}

void Node::refuse(const std::string& problem) const { throw ScenarioError(file_, path_, problem); }

void Node::requireKeys(const std::string& what, const char* const* begin,
                       const char* const* end) const {
  if (!value_.is_object()) fail(what);
  for (const auto& item : value_.items()) {
    if (std::find_if(begin, end, [&](const char* key) { return item.key() == key; }) != end) {
      continue;
    }
    std::string list;
    for (auto key = begin; key != end; ++key) list += std::string(list.empty() ? "" : ", ") + *key;
    throw ScenarioError(file_, childPath(path_, item.key()),
                        "unknown key; expected one of: " + list);
  }
}

std::optional<Node> Node::find(const std::string& key) const {
  auto it = value_.find(key);
  if (it == value_.end()) return std::nullopt;
  return Node(*it, childPath(path_, key), file_);
}

Node Node::at(const std::string& key, const std::string& what) const {
  auto it = value_.find(key);
  if (it == value_.end()) {
    throw ScenarioError(file_, childPath(path_, key), "missing; expected " + what);
  }
  return Node(*it, childPath(path_, key), file_);
}

std::vector<Node> Node::elements(const std::string& what, std::size_t max) const {
  if (!value_.is_array() || value_.size() > max) fail(what);
  std::vector<Node> out;
  out.reserve(value_.size());
  for (std::size_t i = 0; i < value_.size(); ++i) {
    out.emplace_back(value_[i], indexPath(path_, i), file_);
  }
  return out;
}

std::vector<std::pair<std::string, Node>> Node::members(const std::string& what,
                                                        std::size_t max) const {
  if (!value_.is_object() || value_.size() > max) fail(what);
  std::vector<std::pair<std::string, Node>> out;
  for (const auto& item : value_.items()) {
    out.emplace_back(item.key(), Node(item.value(), childPath(path_, item.key()), file_));
  }
  return out;
}

long long Node::integer(long long min, long long max) const {
  const std::string what = "an integer from " + std::to_string(min) + " to " + std::to_string(max);
  if (!value_.is_number_integer()) fail(what);
  if (value_.is_number_unsigned() &&
      value_.get<unsigned long long>() > static_cast<unsigned long long>(max)) {
    fail(what);
  }
  const long long v = value_.get<long long>();
  if (v < min || v > max) fail(what);
  return v;
}

float Node::real32() const {
  if (!value_.is_number()) fail("a number");
  const double v = value_.get<double>();
  if (!(std::fabs(v) <= std::numeric_limits<float>::max())) {
    fail("a number a float can hold (-3.4e38 to 3.4e38)");
  }
  return static_cast<float>(v);
}

std::string Node::text(const std::string& what, std::size_t maxBytes) const {
  if (!value_.is_string() || value_.get_ref<const std::string&>().size() > maxBytes) fail(what);
  return value_.get<std::string>();
}

bool Node::flag() const {
  if (value_.is_boolean()) return value_.get<bool>();
  return integer(0, 1) != 0;
}

uint8_t Node::flagByte() const {
  if (value_.is_boolean()) return value_.get<bool>() ? 1 : 0;
  return static_cast<uint8_t>(integer(0, UINT8_MAX));
}

std::string Node::bytes(const std::string& what, std::size_t maxBytes) const {
  if (!value_.is_string()) fail(what);
  const std::optional<std::string> decoded = bytesFromEscaped(value_.get_ref<const std::string&>());
  if (!decoded) fail("\\xNN after a backslash");
  if (decoded->size() > maxBytes) fail(what);
  return *decoded;
}

std::vector<uint8_t> Node::hex(const std::string& what) const {
  if (!value_.is_string()) fail(what);
  std::string ignored;
  std::optional<std::vector<uint8_t>> bytes =
      bytesFromHex(value_.get_ref<const std::string&>(), &ignored);
  if (!bytes) fail(what);
  return std::move(*bytes);
}

}  // namespace nexhost
