#pragma once

#include <sys/types.h>

#include <cstdio>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace nexhost {

// A file nexhost writes, written the way careful tools write: into a new temporary file
// beside the target, renamed over the target only once every byte is written, flushed
// and closed. Until then the target is untouched, so a run that fails, is cut or is
// killed leaves an existing file as it was; and nothing this run did not create is ever
// truncated or unlinked.
//
// The target must be a regular file or a new name in an existing directory. A symbolic
// link is followed: the file it points to is replaced, and the link stays. An existing
// file keeps its permission bits; a new one gets 0666 less the umask. "-" is standard
// output, written directly.
class OutputFile {
 public:
  // Creates the temporary file now, so that an output that cannot be written is refused
  // before anything runs. `option` names the output in every error ("--report", "-o").
  // Null with a one-line reason in `error`.
  static std::unique_ptr<OutputFile> open(const std::string& path, std::string option,
                                          std::string* error);
  // Makes SIGINT, SIGTERM and SIGHUP remove every temporary file not yet in place before
  // they end the process as they would have. For commands that do not handle these
  // signals themselves (live mode stops and writes its files instead).
  static void removeTemporariesOnSignal();

  // Unless committed, removes the temporary file; the target stays as it was.
  ~OutputFile();
  OutputFile(const OutputFile&) = delete;
  OutputFile& operator=(const OutputFile&) = delete;

  // Where to write; null once committed.
  std::FILE* stream() { return stream_; }
  bool isStandardOutput() const { return tempPath_.empty(); }

  // Flushes and closes the temporary file and renames it over the target (standard
  // output: flushes it). False with one line naming the output in `error`, and the first
  // failure's errno in errorNumber() (EPIPE: standard output's reader went away); the
  // temporary file is then removed.
  bool commit(std::string* error);
  int errorNumber() const { return errorNumber_; }

 private:
  OutputFile(int fd, std::string option, std::string shownPath, std::string target,
             std::string tempPath)
      : fd_(fd),
        option_(std::move(option)),
        shownPath_(std::move(shownPath)),
        target_(std::move(target)),
        tempPath_(std::move(tempPath)) {}
  bool openStream(std::string* error);
  std::string where() const;

  int fd_;
  std::FILE* stream_ = nullptr;
  std::string option_;
  std::string shownPath_;  // the path as given, escaped for an error line
  std::string target_;     // what is replaced: the path, or where its link leads
  std::string tempPath_;   // empty for standard output
  int errorNumber_ = 0;    // the first failure's
};

// Where a path leads, to tell whether two paths name the same file: an existing file by
// its device and inode (through symbolic links), a new name by its resolved directory and
// its name. Empty when neither can be found (a missing directory).
struct FileIdentity {
  bool exists = false;
  dev_t device = 0;
  ino_t inode = 0;
  std::string resolved;  // a new name's

  bool operator==(const FileIdentity& other) const;
};
std::optional<FileIdentity> fileIdentity(const std::string& path);

// A file argument and how an error names it: {"--report", "r.html"}, {"the scenario",
// "s.json"}.
struct NamedPath {
  std::string name;
  std::string path;
};

// Refuses an output that is the same file as an input or as another output, before
// anything is read or written: writing it would destroy the input, or one output would
// replace the other. Standard input and output ("-") and empty paths are skipped. False
// with a one-line reason in `error`.
bool checkDistinctOutputs(const std::vector<NamedPath>& inputs,
                          const std::vector<NamedPath>& outputs, std::string* error);

}  // namespace nexhost
