// Reads a scenario file into checked records. The text is parsed into a tree within
// scenario_limits, then every value is read through a Node that knows its JSON
// path, so an error can say exactly where and what was expected.
#include <arpa/inet.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <cmath>
#include <cstring>
#include <iterator>
#include <limits>

#include "events/Trace.h"
#include "io/InputFile.h"
#include "scenario/Scenario.h"
#include "text/ByteText.h"

namespace nexhost {

namespace {

namespace limits = scenario_limits;

// The scenario as parsed. Its objects are sorted maps: a key is found (and a repeated one
// caught) in logarithmic time, however many commands a peer scripts.
using Tree = nlohmann::json;

constexpr long long kLatestTime = 1000000000000LL;  // far beyond any scenario; no overflow
constexpr int kLastClient = 7;
constexpr std::size_t kPreviewChars = 40;  // of a rejected value, in an error

std::string mebibytes(std::size_t bytes) { return std::to_string(bytes >> 20) + " MiB"; }

bool isIdentifier(const std::string& key) {
  if (key.empty() || std::isdigit(static_cast<unsigned char>(key[0]))) return false;
  for (char c : key) {
    if (!std::isalnum(static_cast<unsigned char>(c)) && c != '_') return false;
  }
  return true;
}

// A text as a JSON string, whatever its bytes: errors stay on one line.
std::string quoted(const std::string& text) {
  return Tree(text).dump(-1, ' ', false, Tree::error_handler_t::replace);
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

// Reads a regular file of at most `maxBytes`. Returns what is wrong with it, or "" once
// `text` holds it. O_NONBLOCK keeps a FIFO from blocking the open until a writer comes;
// devices, FIFOs and directories are refused before a byte is read.
std::string readRegularFile(const std::string& path, std::size_t maxBytes, std::string* text) {
  const int fd = ::open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
  if (fd < 0) return std::strerror(errno);
  struct Closer {
    int fd;
    ~Closer() { ::close(fd); }
  } closer{fd};
  struct stat info {};
  if (::fstat(fd, &info) != 0) return std::strerror(errno);
  if (!S_ISREG(info.st_mode)) {
    return std::string("not a regular file (") +
           (S_ISDIR(info.st_mode)    ? "a directory"
            : S_ISFIFO(info.st_mode) ? "a FIFO"
            : S_ISCHR(info.st_mode)  ? "a character device"
            : S_ISBLK(info.st_mode)  ? "a block device"
                                     : "a socket") +
           ")";
  }
  const std::string tooLarge = "larger than " + mebibytes(maxBytes);
  if (static_cast<unsigned long long>(info.st_size) > maxBytes) return tooLarge;
  text->clear();
  char buffer[1 << 16];
  for (;;) {
    const ssize_t n = ::read(fd, buffer, sizeof buffer);
    if (n < 0 && errno == EINTR) continue;
    if (n < 0) return std::strerror(errno);
    if (n == 0) return "";
    // A file may grow after the size check, and /proc files report none.
    if (text->size() + static_cast<std::size_t>(n) > maxBytes) return tooLarge;
    text->append(buffer, static_cast<std::size_t>(n));
  }
}

std::string resolve(const std::string& baseDir, const std::string& path) {
  if (path.empty() || path[0] == '/' || baseDir.empty()) return path;
  return baseDir + "/" + path;
}

class Node {
 public:
  Node(const Tree& value, std::string path, const std::string& file)
      : value_(value), path_(std::move(path)), file_(file) {}

  const Tree& value() const { return value_; }
  const std::string& path() const { return path_; }

  [[noreturn]] void fail(const std::string& expected) const {
    throw ScenarioError(file_, path_, "expected " + expected + ", got " + preview(value_));
  }

  // An object whose keys all come from `allowed`.
  void requireObject(const std::string& what, std::initializer_list<const char*> allowed) const {
    requireKeys(what, allowed.begin(), allowed.end());
  }
  void requireKeys(const std::string& what, const char* const* begin,
                   const char* const* end) const {
    if (!value_.is_object()) fail(what);
    for (const auto& item : value_.items()) {
      if (std::find_if(begin, end, [&](const char* key) { return item.key() == key; }) != end) {
        continue;
      }
      std::string list;
      for (auto key = begin; key != end; ++key)
        list += std::string(list.empty() ? "" : ", ") + *key;
      throw ScenarioError(file_, childPath(path_, item.key()),
                          "unknown key; expected one of: " + list);
    }
  }

  std::optional<Node> find(const std::string& key) const {
    auto it = value_.find(key);
    if (it == value_.end()) return std::nullopt;
    return Node(*it, childPath(path_, key), file_);
  }
  Node at(const std::string& key, const std::string& what) const {
    auto it = value_.find(key);
    if (it == value_.end()) {
      throw ScenarioError(file_, childPath(path_, key), "missing; expected " + what);
    }
    return Node(*it, childPath(path_, key), file_);
  }
  std::vector<Node> elements(const std::string& what, std::size_t max) const {
    if (!value_.is_array() || value_.size() > max) fail(what);
    std::vector<Node> out;
    out.reserve(value_.size());
    for (std::size_t i = 0; i < value_.size(); ++i) {
      out.emplace_back(value_[i], indexPath(path_, i), file_);
    }
    return out;
  }
  std::vector<std::pair<std::string, Node>> members(const std::string& what,
                                                    std::size_t max) const {
    if (!value_.is_object() || value_.size() > max) fail(what);
    std::vector<std::pair<std::string, Node>> out;
    for (const auto& item : value_.items()) {
      out.emplace_back(item.key(), Node(item.value(), childPath(path_, item.key()), file_));
    }
    return out;
  }

  long long integer(long long min, long long max) const {
    const std::string what =
        "an integer from " + std::to_string(min) + " to " + std::to_string(max);
    if (!value_.is_number_integer()) fail(what);
    if (value_.is_number_unsigned() &&
        value_.get<unsigned long long>() > static_cast<unsigned long long>(max)) {
      fail(what);
    }
    const long long v = value_.get<long long>();
    if (v < min || v > max) fail(what);
    return v;
  }
  // A float's range is checked before the conversion, which would be undefined beyond it.
  float real32() const {
    if (!value_.is_number()) fail("a number");
    const double v = value_.get<double>();
    if (!(std::fabs(v) <= std::numeric_limits<float>::max())) {
      fail("a number a float can hold (-3.4e38 to 3.4e38)");
    }
    return static_cast<float>(v);
  }
  std::string text(const std::string& what, std::size_t maxBytes) const {
    if (!value_.is_string() || value_.get_ref<const std::string&>().size() > maxBytes) fail(what);
    return value_.get<std::string>();
  }
  bool flag() const {
    if (value_.is_boolean()) return value_.get<bool>();
    return integer(0, 1) != 0;
  }
  // A record's one-byte valid flag: any byte value, or true and false for 1 and 0.
  uint8_t flagByte() const {
    if (value_.is_boolean()) return value_.get<bool>() ? 1 : 0;
    return static_cast<uint8_t>(integer(0, UINT8_MAX));
  }
  // A byte text in the escape form: \xNN is that byte, any other character its UTF-8 bytes.
  std::string bytes(const std::string& what, std::size_t maxBytes) const {
    if (!value_.is_string()) fail(what);
    const std::optional<std::string> decoded =
        bytesFromEscaped(value_.get_ref<const std::string&>());
    if (!decoded) fail("\\xNN after a backslash");
    if (decoded->size() > maxBytes) fail(what);
    return *decoded;
  }
  // Hex digit pairs, blanks allowed between pairs (as a modem log prints them).
  std::vector<uint8_t> hex(const std::string& what) const {
    if (!value_.is_string()) fail(what);
    std::string error;
    std::optional<std::vector<uint8_t>> bytes =
        bytesFromHex(value_.get_ref<const std::string&>(), &error);
    if (!bytes) fail(what);
    return std::move(*bytes);
  }

 private:
  const Tree& value_;
  std::string path_;
  const std::string& file_;
};

class Loader;

// How a step's action is read: its key in the file, the action, and the reader that
// fills the step's record from the key's value.
struct StepKind {
  const char* key;
  StepAction action;
  void (Loader::*read)(const Node&, ScenarioStep*);
};

class Loader {
 public:
  Loader(std::string name, std::string baseDir)
      : name_(std::move(name)), baseDir_(std::move(baseDir)) {}

  Scenario load(const std::string& text) {
    Scenario scenario;
    scenario.file = name_;
    {
      const Tree root = parseTree(text, name_);  // released before the run
      Node top(root, "", name_);
      top.requireObject("a scenario object", {"description", "peers", "steps"});
      if (auto d = top.find("description")) scenario.description = d->text("a text", 4096);
      if (auto p = top.find("peers")) scenario.peers = peers(*p);
      scenario.steps = steps(top.at("steps", "a list of steps"));
    }
    return scenario;
  }

  // The readers of StepKind.
  void readStart(const Node& n, ScenarioStep* step);
  void readStop(const Node& n, ScenarioStep* step) {
    if (readRecord<dsd_stop_wifi_meas_ind_msg_v01>(n, step, "a measurement stop")) return;
    n.requireObject("a measurement stop {\"id\"}", {"client", "id", "record"});
    step->client = client(n);
    dsd_stop_wifi_meas_ind_msg_v01 ind{};
    ind.wifi_meas_id =
        static_cast<uint32_t>(n.at("id", "the measurement id").integer(0, UINT32_MAX));
    step->record = PackedRecord(ind);
  }
  void readClientOnly(const Node& n, ScenarioStep* step) {
    n.requireObject("an object (optionally with the client)", {"client"});
    step->client = client(n);
  }
  void readProfileInit(const Node& n, ScenarioStep* step);
  void readProfileMask(const Node& n, ScenarioStep* step);
  void readWifi(const Node& n, ScenarioStep* step) {
    const std::string state = n.text("\"on\" or \"off\"", 3);
    if (state != "on" && state != "off") n.fail("\"on\" or \"off\"");
    step->wifiOn = state == "on";
  }
  void readWlanConfig(const Node& n, ScenarioStep* step);
  void readAdvance(const Node& n, ScenarioStep* step) {
    step->at += n.integer(0, kLatestTime - step->at);
  }
  void readScanResults(const Node& n, ScenarioStep* step) {
    step->events = static_cast<int>(n.integer(1, INT32_MAX));
  }
  void readChipset(const Node& n, ScenarioStep* step) {
    step->chipset = static_cast<int>(n.integer(INT32_MIN, INT32_MAX));
  }

 private:
  std::vector<ScenarioStep> steps(const Node& n);

  int client(const Node& n) {
    auto c = n.find("client");
    return c ? static_cast<int>(c->integer(0, kLastClient)) : 0;
  }

  // {"record": "<hex>"} (with the client) instead of the fields: the indication's exact
  // bytes. False when the step gives fields.
  template <typename Record>
  bool readRecord(const Node& n, ScenarioStep* step, const std::string& what,
                  std::initializer_list<const char*> keys = {"client", "record"}) {
    const auto hex = n.find("record");
    if (!hex) return false;
    n.requireObject(what + " record {\"record\"}", keys);
    step->client = client(n);
    const std::string size = std::to_string(sizeof(Record));
    const std::string expected = "the " + size + " bytes of " + what + " as hex digit pairs";
    const std::vector<uint8_t> bytes = hex->hex(expected);
    if (bytes.size() != sizeof(Record)) {
      throw ScenarioError(
          name_, hex->path(),
          "expected " + size + " bytes (" + what + "), got " + std::to_string(bytes.size()));
    }
    Record record;
    std::memcpy(&record, bytes.data(), sizeof record);
    step->record = PackedRecord(record);
    return true;
  }

  // A valid flag: as given, else set when its value is given.
  static uint8_t validFlag(const Node& n, const char* key, bool valuePresent) {
    const auto given = n.find(key);
    return given ? given->flagByte() : valuePresent ? 1 : 0;
  }
  // A list's count: as given (any 32-bit value; the reader bounds it), else the entries'.
  static uint32_t count(const Node& n, const char* key, std::size_t entries) {
    const auto given = n.find(key);
    return given ? static_cast<uint32_t>(given->integer(0, UINT32_MAX))
                 : static_cast<uint32_t>(entries);
  }

  // A command text or command line used as a key, in the escape form.
  std::string keyBytes(const std::string& key, const Node& member) const {
    const std::optional<std::string> decoded = bytesFromEscaped(key);
    if (!decoded) {
      throw ScenarioError(name_, member.path(), "expected \\xNN after a backslash in the key");
    }
    return *decoded;
  }

  // Every reply and output, inline or from a file, counts against one budget.
  std::string checkedText(const Node& n, std::string text) {
    textBytes_ += text.size();
    if (textBytes_ > limits::kAllTextBytes) {
      throw ScenarioError(
          name_, n.path(),
          "replies and outputs add up to more than " + mebibytes(limits::kAllTextBytes));
    }
    return text;
  }
  std::string inlineText(const Node& n) {
    return checkedText(
        n, n.bytes("a text of at most " + mebibytes(limits::kTextBytes), limits::kTextBytes));
  }
  std::string fileText(const Node& n) {
    const std::string path = resolve(baseDir_, n.text("a file path", 4096));
    std::string text;
    const std::string problem = readRegularFile(path, limits::kTextBytes, &text);
    if (!problem.empty()) {
      n.fail("a readable regular file of at most " + mebibytes(limits::kTextBytes) + " (" +
             quoted(path) + ": " + problem + ")");
    }
    return checkedText(n, std::move(text));
  }

  // One reply: "text", {"reply": "text"}, {"reply_file": "path"} or {"failure": true}
  // (with the "error" a live command failed with, as a recorded session keeps it).
  SupplicantBackend::Reply reply(const Node& n) {
    if (n.value().is_string()) return {true, inlineText(n), ""};
    n.requireObject(
        "a reply: a text, {\"reply\": ...}, {\"reply_file\": ...} or {\"failure\": true}",
        {"reply", "reply_file", "failure", "error"});
    const auto error = n.find("error");
    if (n.value().size() != (error ? 2u : 1u) || (error && !n.find("failure"))) {
      n.fail("exactly one of reply, reply_file, failure (a failure may give its error)");
    }
    if (auto r = n.find("reply")) return {true, inlineText(*r), ""};
    if (auto f = n.find("reply_file")) return {true, fileText(*f), ""};
    const Node failure = n.at("failure", "true");
    if (!failure.value().is_boolean() || !failure.value().get<bool>()) failure.fail("true");
    return {false, "", error ? error->bytes("an error text of at most 256 bytes", 256) : ""};
  }

  std::map<std::string, std::vector<SupplicantBackend::Reply>> replies(const Node& n) {
    std::map<std::string, std::vector<SupplicantBackend::Reply>> out;
    const std::string what =
        "an object of replies by command text (at most " + std::to_string(limits::kCommands) + ")";
    for (const auto& [key, value] : n.members(what, limits::kCommands)) {
      const std::string command = keyBytes(key, value);
      if (value.value().is_object() && value.value().contains("sequence")) {
        value.requireObject("a sequence", {"sequence"});
        const Node list = value.at("sequence", "a list of replies");
        const std::string listWhat = "a non-empty list of at most " +
                                     std::to_string(limits::kRepliesPerCommand) + " replies";
        auto items = list.elements(listWhat, limits::kRepliesPerCommand);
        if (items.empty()) list.fail(listWhat);
        for (const Node& item : items) out[command].push_back(reply(item));
      } else {
        out[command].push_back(reply(value));
      }
    }
    return out;
  }

  ScenarioPeers peers(const Node& n) {
    n.requireObject("the peers", {"supplicant", "hostapd", "chipset", "engine", "operators"});
    ScenarioPeers p;
    if (auto s = n.find("supplicant")) {
      s->requireObject("the supplicant", {"sta", "p2p", "scan_ready_after", "p2p_connects"});
      if (auto sta = s->find("sta")) p.station = replies(*sta);
      if (auto p2p = s->find("p2p")) p.p2p = replies(*p2p);
      if (auto after = s->find("scan_ready_after")) {
        if (!after->value().is_null()) p.scanReadyAfter = after->integer(0, kLatestTime);
      }
      if (auto c = s->find("p2p_connects")) p.p2pConnects = c->flag();
    }
    if (auto h = n.find("hostapd")) {
      const std::string what = "an object of results by command line (at most " +
                               std::to_string(limits::kCommands) + ")";
      for (const auto& [key, value] : h->members(what, limits::kCommands)) {
        std::vector<Platform::ForkResult>& results = p.hostapd[keyBytes(key, value)];
        if (value.value().is_object() && value.value().contains("sequence")) {
          value.requireObject("a sequence", {"sequence"});
          const Node list = value.at("sequence", "a list of results");
          const std::string listWhat = "a non-empty list of at most " +
                                       std::to_string(limits::kRepliesPerCommand) + " results";
          const auto items = list.elements(listWhat, limits::kRepliesPerCommand);
          if (items.empty()) list.fail(listWhat);
          for (const Node& item : items) results.push_back(forkResult(item));
        } else {
          results.push_back(forkResult(value));
        }
      }
    }
    if (auto c = n.find("chipset")) p.chipset = static_cast<int>(c->integer(INT32_MIN, INT32_MAX));
    if (auto e = n.find("engine")) {
      if (!e->value().is_boolean()) e->fail("true or false");
      p.engine = e->value().get<bool>();
    }
    if (auto o = n.find("operators")) {
      const std::string what = "an object of operator names by ICCID digits (at most " +
                               std::to_string(limits::kOperators) + ")";
      for (const auto& [iccid, name] : o->members(what, limits::kOperators)) {
        p.operators[keyBytes(iccid, name)] =
            name.bytes("an operator name of at most 256 bytes", 256);
      }
    }
    return p;
  }

  // What one hostapd_cli run prints and the code forkExec returns (any int: a real run
  // gives 0 to 255, but the host may return anything).
  Platform::ForkResult forkResult(const Node& n) {
    n.requireObject("a result {\"output\" or \"output_file\", \"exit_code\"}",
                    {"output", "output_file", "exit_code", "ran"});
    Platform::ForkResult result;
    if (auto o = n.find("output")) result.output = inlineText(*o);
    if (auto f = n.find("output_file")) {
      if (n.find("output")) f->fail("output or output_file, not both");
      result.output = fileText(*f);
    }
    if (auto code = n.find("exit_code")) {
      result.exitCode = static_cast<int>(code->integer(INT32_MIN, INT32_MAX));
    }
    if (auto ran = n.find("ran")) result.ran = inlineText(*ran);
    return result;
  }

  // A float, or "nan", "inf" and "-inf" for what JSON cannot write.
  static float alphaValue(const Node& n) {
    if (!n.value().is_string()) return n.real32();
    const std::string text = n.value().get<std::string>();
    if (text == "nan") return std::numeric_limits<float>::quiet_NaN();
    if (text == "inf") return std::numeric_limits<float>::infinity();
    if (text == "-inf") return -std::numeric_limits<float>::infinity();
    n.fail("a number, \"nan\", \"inf\" or \"-inf\"");
  }

  uint64_t mask64(const Node& n) {
    const std::string what = "a 64-bit mask (a number or a \"0x...\" text)";
    if (n.value().is_number_unsigned()) return n.value().get<uint64_t>();
    if (n.value().is_number_integer()) return static_cast<uint64_t>(n.integer(0, INT64_MAX));
    if (!n.value().is_string()) n.fail(what);
    const std::string text = n.value().get<std::string>();
    if (text.size() < 3 || text.size() > 18 || text.compare(0, 2, "0x") != 0 ||
        text.find_first_not_of("0123456789abcdefABCDEF", 2) != std::string::npos) {
      n.fail(what);
    }
    return std::stoull(text.substr(2), nullptr, 16);
  }

  void network(const Node& n, dsd_wifi_ident_type_v01* entry) {
    n.requireObject("a network {\"ssid\", \"bssids\"}", {"ssid", "bssid_list_len", "bssids"});
    // The words are matched as written: "\x61ny" is the three bytes of a network's name.
    const std::string what = "a name of at most 32 bytes, \"any\" or \"connected\"";
    const Node ssid = n.at("ssid", what);
    if (ssid.value() == "any") {
      std::memset(entry->ssid_info.ssid, 0xFF, sizeof entry->ssid_info.ssid);
    } else if (ssid.value() != "connected") {
      const std::string name = ssid.bytes(what, DSD_WIFI_SSID_MAX_V01);
      std::memcpy(entry->ssid_info.ssid, name.data(), name.size());
    }
    std::size_t given = 0;
    if (auto list = n.find("bssids")) {
      const auto bssids =
          list->elements("a list of at most 16 access points", DSD_WIFI_BSSID_LIST_MAX_V01);
      given = bssids.size();
      for (std::size_t i = 0; i < bssids.size(); ++i) accessPoint(bssids[i], &entry->bssid_list[i]);
    }
    entry->bssid_list_len = count(n, "bssid_list_len", given);
  }

  void accessPoint(const Node& n, dsd_wifi_bssid_type_v01* entry) {
    n.requireObject("an access point {\"bssid\", \"channels\"}",
                    {"bssid", "channel_list_len", "channels"});
    const Node bssid = n.at("bssid", "a BSSID");
    if (!parseMac(bssid.text("a BSSID like 02:00:00:00:00:00", 17), entry->bssid)) {
      bssid.fail("a BSSID like 02:00:00:00:00:00");
    }
    std::size_t given = 0;
    if (auto list = n.find("channels")) {
      const auto codes =
          list->elements("a list of at most 16 channel codes", DSD_WIFI_CHANNEL_LIST_MAX_V01);
      given = codes.size();
      for (std::size_t i = 0; i < codes.size(); ++i) {
        entry->channel_list[i] = static_cast<uint16_t>(codes[i].integer(0, UINT16_MAX));
      }
    }
    entry->channel_list_len = count(n, "channel_list_len", given);
  }

  // Kept in network byte order, as the engine delivers it.
  uint32_t ipv4(const Node& n) {
    in_addr address{};
    if (inet_pton(AF_INET, n.text("an IPv4 address like 192.168.1.2", 15).c_str(), &address) != 1) {
      n.fail("an IPv4 address like 192.168.1.2");
    }
    return address.s_addr;
  }

  void ipv6(const Node& n, uint8_t* out) {
    in6_addr address{};
    if (inet_pton(AF_INET6, n.text("an IPv6 address like fe80::1", 45).c_str(), &address) != 1) {
      n.fail("an IPv6 address like fe80::1");
    }
    std::memcpy(out, &address, 16);
  }

  void copyText(const Node& n, char* field, std::size_t maxBytes) {
    const std::string text =
        n.bytes("a text of at most " + std::to_string(maxBytes) + " bytes", maxBytes);
    std::memcpy(field, text.data(), text.size());
  }

  static bool parseMac(const std::string& text, uint8_t* mac) {
    if (text.size() != 17) return false;
    for (int i = 0; i < 6; ++i) {
      const std::string pair = text.substr(static_cast<std::size_t>(i) * 3, 2);
      if (!std::isxdigit(static_cast<unsigned char>(pair[0])) ||
          !std::isxdigit(static_cast<unsigned char>(pair[1])) ||
          (i < 5 && text[static_cast<std::size_t>(i) * 3 + 2] != ':')) {
        return false;
      }
      mac[i] = static_cast<uint8_t>(std::stoul(pair, nullptr, 16));
    }
    return true;
  }

  std::string name_;
  std::string baseDir_;
  std::size_t textBytes_ = 0;
};

// Every action a step can take. The step's allowed keys, the "one action" error and the
// action names the runner prints all come from here.
const StepKind kStepKinds[] = {
    {"start", StepAction::kStart, &Loader::readStart},
    {"stop", StepAction::kStop, &Loader::readStop},
    {"stop_all", StepAction::kStopAll, &Loader::readClientOnly},
    {"wqe_profile_init", StepAction::kWqeProfileInit, &Loader::readProfileInit},
    {"set_wqe_profile", StepAction::kSetWqeProfile, &Loader::readProfileMask},
    {"create_default_profile", StepAction::kCreateDefaultProfile, &Loader::readClientOnly},
    {"wifi", StepAction::kWifi, &Loader::readWifi},
    {"wlan_config", StepAction::kWlanConfig, &Loader::readWlanConfig},
    {"scan_ready", StepAction::kScanReady, &Loader::readClientOnly},
    {"scan_results", StepAction::kScanResults, &Loader::readScanResults},
    {"chipset", StepAction::kChipset, &Loader::readChipset},
    {"advance", StepAction::kAdvance, &Loader::readAdvance},
};

std::vector<ScenarioStep> Loader::steps(const Node& n) {
  static const std::vector<const char*> stepKeys = [] {
    std::vector<const char*> keys{"at"};
    for (const StepKind& kind : kStepKinds) keys.push_back(kind.key);
    return keys;
  }();
  static const std::string oneAction = [] {
    std::string text = "one action: ";
    const std::size_t count = std::size(kStepKinds);
    for (std::size_t i = 0; i < count; ++i) {
      text += std::string(i == 0 ? "" : i + 1 == count ? " or " : ", ") + kStepKinds[i].key;
    }
    return text;
  }();

  std::vector<ScenarioStep> out;
  const auto items =
      n.elements("a list of at most " + std::to_string(limits::kSteps) + " steps", limits::kSteps);
  out.reserve(items.size());
  long long now = 0;
  for (const Node& item : items) {
    item.requireKeys("a step", stepKeys.data(), stepKeys.data() + stepKeys.size());
    const auto at = item.find("at");
    if (at) {
      const long long t = at->integer(0, kLatestTime);
      if (t < now) at->fail("a time at or after " + std::to_string(now) + " (the previous step's)");
      now = t;
    }
    if (item.value().size() != (at ? 2u : 1u)) item.fail(oneAction);
    for (const StepKind& kind : kStepKinds) {
      const auto value = item.find(kind.key);
      if (!value) continue;
      ScenarioStep step;
      step.at = now;
      step.action = kind.action;
      (this->*kind.read)(*value, &step);
      now = step.at;
      out.push_back(std::move(step));
    }
  }
  return out;
}

void Loader::readStart(const Node& n, ScenarioStep* step) {
  if (readRecord<dsd_start_wifi_meas_ind_msg_v01>(n, step, "a measurement start")) return;
  n.requireObject("a measurement start", {"client", "id", "quantities", "mask", "wifi_ident_valid",
                                          "wifi_ident_len", "networks", "sampling_interval_valid",
                                          "sampling_interval", "reporting_interval_valid",
                                          "reporting_interval", "alpha_valid", "alpha", "record"});
  step->client = client(n);
  dsd_start_wifi_meas_ind_msg_v01 ind;
  std::memset(&ind, 0, sizeof ind);
  ind.wifi_meas_id = static_cast<uint32_t>(n.at("id", "the measurement id").integer(0, UINT32_MAX));
  if (auto q = n.find("quantities")) {
    if (n.find("mask")) throw ScenarioError(name_, q->path(), "give quantities or mask, not both");
    for (const Node& item : q->elements("a list of \"rssi\" and \"bss_load\"", 2)) {
      const std::string name = item.text("\"rssi\" or \"bss_load\"", 16);
      if (name == "rssi") {
        ind.meas_param_mask |= DSD_WIFI_MEAS_PARAM_RSSI_V01;
      } else if (name == "bss_load") {
        ind.meas_param_mask |= DSD_WIFI_MEAS_PARAM_BSS_LOAD_V01;
      } else {
        item.fail("\"rssi\" or \"bss_load\"");
      }
    }
  } else {
    ind.meas_param_mask = mask64(n.at("mask", "quantities (or a raw mask)"));
  }
  const auto list = n.find("networks");
  std::size_t networks = 0;
  if (list) {
    const auto items = list->elements("a list of at most 8 networks", DSD_WIFI_IDENT_MAX_V01);
    networks = items.size();
    for (std::size_t i = 0; i < items.size(); ++i) network(items[i], &ind.wifi_ident[i]);
  }
  ind.wifi_ident_valid = validFlag(n, "wifi_ident_valid", list.has_value());
  ind.wifi_ident_len = count(n, "wifi_ident_len", networks);
  const auto sampling = n.find("sampling_interval");
  if (sampling)
    ind.sampling_interval = static_cast<int32_t>(sampling->integer(INT32_MIN, INT32_MAX));
  ind.sampling_interval_valid = validFlag(n, "sampling_interval_valid", sampling.has_value());
  const auto reporting = n.find("reporting_interval");
  if (reporting) {
    ind.reporting_interval = static_cast<int32_t>(reporting->integer(INT32_MIN, INT32_MAX));
  }
  ind.reporting_interval_valid = validFlag(n, "reporting_interval_valid", reporting.has_value());
  const auto alpha = n.find("alpha");
  if (alpha) ind.alpha = alphaValue(*alpha);
  ind.alpha_valid = validFlag(n, "alpha_valid", alpha.has_value());
  step->record = PackedRecord(ind);
}

void Loader::readProfileInit(const Node& n, ScenarioStep* step) {
  if (readRecord<dsd_wqe_profile_init_ind_msg_v01>(n, step, "a profile init")) return;
  n.requireObject("a profile init",
                  {"client", "profile", "rssi_high_override_valid", "rssi_high_override",
                   "rssi_low_override_valid", "rssi_low_override", "iccid_valid", "iccid_len",
                   "iccid", "iccid_bytes", "record"});
  step->client = client(n);
  dsd_wqe_profile_init_ind_msg_v01 ind;
  std::memset(&ind, 0, sizeof ind);
  ind.profile_type =
      static_cast<uint32_t>(n.at("profile", "the profile number").integer(0, UINT32_MAX));
  const auto high = n.find("rssi_high_override");
  if (high) ind.rssi_high_override = static_cast<int16_t>(high->integer(INT16_MIN, INT16_MAX));
  ind.rssi_high_override_valid = validFlag(n, "rssi_high_override_valid", high.has_value());
  const auto low = n.find("rssi_low_override");
  if (low) ind.rssi_low_override = static_cast<int16_t>(low->integer(INT16_MIN, INT16_MAX));
  ind.rssi_low_override_valid = validFlag(n, "rssi_low_override_valid", low.has_value());
  const auto digitsNode = n.find("iccid");
  const auto bytesNode = n.find("iccid_bytes");
  std::size_t length = 0;
  if (digitsNode && bytesNode) bytesNode->fail("iccid or iccid_bytes, not both");
  if (digitsNode) {
    const std::string what = "ICCID digits (at most 20)";
    const std::string digits = digitsNode->text(what, 2 * DSD_ICCID_MAX_V01);
    if (digits.empty() || digits.find_first_not_of("0123456789") != std::string::npos) {
      digitsNode->fail(what);
    }
    // Packed BCD, low nibble first; an odd count ends with the filler nibble F.
    for (std::size_t i = 0; i < digits.size(); ++i) {
      const auto digit = static_cast<uint8_t>(digits[i] - '0');
      ind.iccid[i / 2] |= (i % 2 == 0) ? digit : static_cast<uint8_t>(digit << 4);
    }
    if (digits.size() % 2 != 0) ind.iccid[digits.size() / 2] |= 0xF0;
    length = (digits.size() + 1) / 2;
  } else if (bytesNode) {
    const std::string what = "at most 10 ICCID bytes as hex digit pairs";
    const std::vector<uint8_t> bytes = bytesNode->hex(what);
    if (bytes.size() > DSD_ICCID_MAX_V01) bytesNode->fail(what);
    std::copy(bytes.begin(), bytes.end(), ind.iccid);
    length = bytes.size();
  }
  ind.iccid_valid = validFlag(n, "iccid_valid", digitsNode || bytesNode);
  ind.iccid_len = count(n, "iccid_len", length);
  step->record = PackedRecord(ind);
}

void Loader::readProfileMask(const Node& n, ScenarioStep* step) {
  if (readRecord<dsd_wqe_profile_type_ind_msg_v01>(n, step, "a profile selection")) return;
  n.requireObject("a profile selection {\"profiles\"} or {\"mask\"}",
                  {"client", "profiles", "mask", "record"});
  step->client = client(n);
  dsd_wqe_profile_type_ind_msg_v01 ind{};
  auto list = n.find("profiles");
  auto mask = n.find("mask");
  if (list && mask) list->fail("profiles or mask, not both");
  if (list) {
    // Profile p is selected by bit p + 28.
    for (const Node& p : list->elements("a list of profile numbers 4 to 35", 32)) {
      ind.profile_mask |= uint64_t{1} << (p.integer(4, 35) + 28);
    }
  } else if (mask) {
    ind.profile_mask = mask64(*mask);
  } else {
    n.at("profiles", "a list of profile numbers (or a raw mask)");
  }
  step->record = PackedRecord(ind);
}

void Loader::readWlanConfig(const Node& n, ScenarioStep* step) {
  if (auto to = n.find("to")) {
    const std::string target = to->text("\"default\" or a registration name", 64);
    step->configTarget = target == "default" ? std::string() : target;
  }
  if (readRecord<CasWlanNetConfigType>(n, step, "a WLAN configuration", {"to", "record"})) return;
  n.requireObject("a WLAN configuration",
                  {"to", "netType", "ipv4Address", "ipv6Address", "linkFlag", "enabled",
                   "bssidText", "ssidText", "dns1Ipv4", "dns2Ipv4", "dns1Ipv6", "dns2Ipv6",
                   "connState", "resultReason", "fullConnection", "locationCountryCode", "record"});
  CasWlanNetConfigType c;
  std::memset(&c, 0, sizeof c);
  const Node type = n.at("netType", "\"station\", \"softap\", \"p2p\" or a number");
  if (type.value().is_string()) {
    const std::string kind = type.value().get<std::string>();
    if (kind == "station") {
      c.netType = CAS_NET_TYPE_STATION;
    } else if (kind == "softap") {
      c.netType = CAS_NET_TYPE_SOFTAP;
    } else if (kind == "p2p") {
      c.netType = CAS_NET_TYPE_P2P;
    } else {
      type.fail("\"station\", \"softap\", \"p2p\" or a number");
    }
  } else {
    c.netType = static_cast<int32_t>(type.integer(INT32_MIN, INT32_MAX));
  }
  if (auto v = n.find("ipv4Address")) c.ipv4Address = ipv4(*v);
  if (auto v = n.find("ipv6Address")) ipv6(*v, c.ipv6Address);
  if (auto v = n.find("linkFlag")) c.linkFlag = v->flag() ? 1 : 0;
  if (auto v = n.find("enabled")) c.enabled = v->flag() ? 1 : 0;
  if (auto v = n.find("bssidText")) copyText(*v, c.bssidText, sizeof c.bssidText - 1);
  if (auto v = n.find("ssidText")) copyText(*v, c.ssidText, sizeof c.ssidText - 1);
  if (auto v = n.find("dns1Ipv4")) c.dns1Ipv4 = ipv4(*v);
  if (auto v = n.find("dns2Ipv4")) c.dns2Ipv4 = ipv4(*v);
  if (auto v = n.find("dns1Ipv6")) ipv6(*v, c.dns1Ipv6);
  if (auto v = n.find("dns2Ipv6")) ipv6(*v, c.dns2Ipv6);
  if (auto v = n.find("connState"))
    c.connState = static_cast<int32_t>(v->integer(INT32_MIN, INT32_MAX));
  if (auto v = n.find("resultReason")) {
    c.resultReason = static_cast<int32_t>(v->integer(INT32_MIN, INT32_MAX));
  }
  if (auto v = n.find("fullConnection")) c.fullConnection = v->flag() ? 1 : 0;
  if (auto v = n.find("locationCountryCode")) {
    const std::string code = v->text("a country code of at most 2 letters", 2);
    std::memcpy(c.locationCountryCode, code.data(), code.size());
  }
  step->record = PackedRecord(c);
}

}  // namespace

void PackedRecord::pack(const uint8_t* bytes, std::size_t size) {
  const auto put16 = [this](std::size_t v) {
    runs_.push_back(static_cast<uint8_t>(v & 0xFF));
    runs_.push_back(static_cast<uint8_t>(v >> 8));
  };
  for (std::size_t i = 0; i < size;) {
    if (bytes[i] == 0) {
      ++i;
      continue;
    }
    // A run goes on across fewer zero bytes than a new run's header would cost.
    std::size_t end = i + 1;
    for (std::size_t j = end; j < size && j < end + 4; ++j) {
      if (bytes[j] != 0) end = j + 1;
    }
    put16(i);
    put16(end - i);
    runs_.insert(runs_.end(), bytes + i, bytes + end);
    i = end;
  }
  runs_.shrink_to_fit();
}

void PackedRecord::unpackInto(uint8_t* bytes, std::size_t size) const {
  std::memset(bytes, 0, size);
  for (std::size_t i = 0; i + 4 <= runs_.size();) {
    const std::size_t offset = runs_[i] | static_cast<std::size_t>(runs_[i + 1]) << 8;
    const std::size_t length = runs_[i + 2] | static_cast<std::size_t>(runs_[i + 3]) << 8;
    i += 4;
    if (offset < size) std::memcpy(bytes + offset, &runs_[i], std::min(length, size - offset));
    i += length;
  }
}

const char* ScenarioStep::name() const {
  for (const StepKind& kind : kStepKinds) {
    if (kind.action == action) return kind.key;
  }
  return "";
}

Scenario parseScenario(const std::string& text, const std::string& name,
                       const std::string& baseDir) {
  return Loader(name, baseDir).load(text);
}

Scenario loadScenario(const std::string& path) {
  InputFile file;  // "-", a pipe or process substitution too: a scenario is read once
  const std::string problem = readInputFile(path, limits::kFileBytes, &file);
  if (!problem.empty()) throw ScenarioError(file.name, "", "cannot read the file: " + problem);
  return parseScenario(file.text, file.name, file.directory);
}

ScenarioStep measurementStep(const MeasurementOptions& options) {
  // The command line speaks the scenario's language: build the same JSON and load it.
  Tree start{{"id", options.id}};
  Tree quantities = Tree::array({"rssi"});
  if (options.bssLoad) quantities.push_back("bss_load");
  start["quantities"] = quantities;
  Tree channels = Tree::array();
  for (uint16_t c : options.channels) channels.push_back(c);
  if (channels.empty()) channels.push_back(DSD_WIFI_CHANNEL_ANY_V01);
  Tree bssids = Tree::array();
  for (const std::string& b : options.bssids)
    bssids.push_back(Tree{{"bssid", b}, {"channels", channels}});
  if (bssids.empty())
    bssids.push_back(Tree{{"bssid", "ff:ff:ff:ff:ff:ff"}, {"channels", channels}});
  start["networks"] = Tree::array({Tree{{"ssid", options.ssid}, {"bssids", bssids}}});
  if (options.samplingInterval) start["sampling_interval"] = *options.samplingInterval;
  if (options.reportingInterval) start["reporting_interval"] = *options.reportingInterval;
  if (options.alpha) start["alpha"] = *options.alpha;
  const std::string name = "command line";
  try {
    ScenarioStep step;
    step.action = StepAction::kStart;
    Loader(name, "").readStart(Node(start, "", name), &step);
    return step;
  } catch (const ScenarioError& e) {
    // Name the option rather than the JSON built from it.
    const std::string& path = e.path();
    const std::string option = path.find("channels") != std::string::npos ? "--channel"
                               : path.find("bssid") != std::string::npos  ? "--bssid"
                               : path.find("ssid") != std::string::npos   ? "--ssid"
                                                                          : "--" + path;
    const std::string what = e.what();
    throw ScenarioError(name, option, what.substr(what.find(path) + path.size() + 2));
  }
}

}  // namespace nexhost
