// Output files: what they refuse, and that a run which does not finish its write leaves
// every existing file as it was.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>
#include <fstream>
#include <functional>
#include <sstream>
#include <string>

#include "output/OutputFile.h"

namespace {

using nexhost::OutputFile;

struct Scratch {
  Scratch() {
    char dir[] = "/tmp/nexhost-output-XXXXXX";
    path = mkdtemp(dir);
  }
  ~Scratch() { std::system(("rm -rf '" + path + "'").c_str()); }

  std::string at(const std::string& name) const { return path + "/" + name; }
  void write(const std::string& name, const std::string& text) const {
    std::ofstream(at(name)) << text;
  }
  std::string read(const std::string& name) const {
    std::ifstream in(at(name));
    std::stringstream text;
    text << in.rdbuf();
    return text.str();
  }
  // Every name in the directory, sorted: a leftover temporary file shows here.
  std::string listing() const {
    std::string names;
    FILE* ls = popen(("ls -A '" + path + "'").c_str(), "r");
    char line[512];
    while (std::fgets(line, sizeof line, ls) != nullptr) names += line;
    pclose(ls);
    return names;
  }

  std::string path;
};

std::unique_ptr<OutputFile> openOk(const std::string& path) {
  std::string error;
  std::unique_ptr<OutputFile> out = OutputFile::open(path, "--report", &error);
  EXPECT_NE(out, nullptr) << error;
  return out;
}

void put(OutputFile& out, const std::string& text) {
  std::fwrite(text.data(), 1, text.size(), out.stream());
}

TEST(OutputFileTest, RefusesWhatIsNeitherARegularFileNorANewName) {
  Scratch scratch;
  ASSERT_EQ(mkfifo(scratch.at("fifo").c_str(), 0600), 0);
  ASSERT_EQ(symlink("missing", scratch.at("dangling").c_str()), 0);
  ASSERT_EQ(mkdir(scratch.at("dir").c_str(), 0700), 0);
  struct Case {
    std::string path;
    std::string error;
    const char* why;
  };
  const Case cases[] = {
      {"/dev/null", "--report: /dev/null is not a regular file or a new name (a character device)",
       "was unlinked when the run failed, even /dev/null as root"},
      {scratch.at("fifo"), "fifo is not a regular file or a new name (a FIFO)",
       "opening it blocked until a reader came"},
      {scratch.at("dir"), "dir is not a regular file or a new name (a directory)",
       "the rename would fail only after the whole run"},
      {scratch.at("dangling"), "dangling is a symbolic link that leads to no file",
       "which file it means is a guess"},
      {scratch.at("no-dir/r.html"),
       "--report: cannot write " + scratch.at("no-dir/r.html") + ": No such file or directory",
       "refused before the run, not after it"},
      {scratch.at("\xff.html/x"), "cannot write " + scratch.path + "/\\xff.html/x",
       "an error line is ASCII, whatever bytes the path has"},
  };
  for (const Case& c : cases) {
    std::string error;
    EXPECT_EQ(OutputFile::open(c.path, "--report", &error), nullptr) << c.path;
    EXPECT_NE(error.find(c.error), std::string::npos) << c.why << ": " << error;
  }
  struct stat st {};
  EXPECT_EQ(stat("/dev/null", &st), 0);
  EXPECT_TRUE(S_ISCHR(st.st_mode));
}

// Each way a target can be: what a write that is never committed leaves, and what a
// committed one does.
TEST(OutputFileTest, ReplacesTheTargetOnlyOnCommit) {
  struct Case {
    const char* name;
    std::function<void(const Scratch&)> setUp;
    std::string before;  // the target's content beforehand; empty: no target
  };
  const Case cases[] = {
      {"a new name", [](const Scratch&) {}, ""},
      {"an existing file", [](const Scratch& s) { s.write("out", "earlier run\n"); },
       "earlier run\n"},
      {"a symbolic link",
       [](const Scratch& s) {
         s.write("target", "kept\n");
         ASSERT_EQ(symlink("target", s.at("out").c_str()), 0);
       },
       "kept\n"},
  };
  for (const Case& c : cases) {
    for (bool commit : {false, true}) {
      Scratch scratch;
      c.setUp(scratch);
      const std::string before = scratch.listing();
      {
        std::unique_ptr<OutputFile> out = openOk(scratch.at("out"));
        put(*out, "new\n");
        std::string error;
        if (commit) {
          EXPECT_TRUE(out->commit(&error)) << error;
        }
      }
      SCOPED_TRACE(std::string(c.name) + (commit ? ", committed" : ", not committed"));
      EXPECT_EQ(scratch.listing(), commit && c.before.empty() ? "out\n" : before)
          << "a temporary file was left behind";
      if (commit) {
        EXPECT_EQ(scratch.read("out"), "new\n");
      } else if (!c.before.empty()) {
        EXPECT_EQ(scratch.read("out"), c.before);
      }
    }
  }
}

TEST(OutputFileTest, ALinkStaysALinkAndItsTargetIsReplaced) {
  Scratch scratch;
  scratch.write("target", "old\n");
  ASSERT_EQ(symlink("target", scratch.at("link").c_str()), 0);
  std::unique_ptr<OutputFile> out = openOk(scratch.at("link"));
  put(*out, "new\n");
  std::string error;
  ASSERT_TRUE(out->commit(&error)) << error;
  struct stat st {};
  ASSERT_EQ(lstat(scratch.at("link").c_str(), &st), 0);
  EXPECT_TRUE(S_ISLNK(st.st_mode));
  EXPECT_EQ(scratch.read("target"), "new\n");
}

TEST(OutputFileTest, KeepsAnExistingFilesModeAndGivesANewOneTheUmasks) {
  Scratch scratch;
  scratch.write("kept", "x");
  ASSERT_EQ(chmod(scratch.at("kept").c_str(), 0640), 0);
  const mode_t mask = umask(027);
  for (const char* name : {"kept", "new"}) {
    std::unique_ptr<OutputFile> out = openOk(scratch.at(name));
    std::string error;
    ASSERT_TRUE(out->commit(&error)) << error;
  }
  umask(mask);
  struct stat st {};
  ASSERT_EQ(stat(scratch.at("kept").c_str(), &st), 0);
  EXPECT_EQ(st.st_mode & 07777, 0640u);
  ASSERT_EQ(stat(scratch.at("new").c_str(), &st), 0);
  EXPECT_EQ(st.st_mode & 07777, 0640u) << "0666 less the umask 027";
}

// A file size limit makes the write fail as a full disk would.
TEST(OutputFileTest, AFailedWriteIsReportedAndLeavesTheTargetAsItWas) {
  Scratch scratch;
  scratch.write("out", "earlier run\n");
  std::unique_ptr<OutputFile> out = openOk(scratch.at("out"));
  rlimit saved{};
  ASSERT_EQ(getrlimit(RLIMIT_FSIZE, &saved), 0);
  const auto previous = std::signal(SIGXFSZ, SIG_IGN);
  rlimit limited = saved;
  limited.rlim_cur = 4096;
  ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &limited), 0);
  put(*out, std::string(64 * 1024, 'x'));
  std::string error;
  const bool committed = out->commit(&error);
  setrlimit(RLIMIT_FSIZE, &saved);
  std::signal(SIGXFSZ, previous);
  EXPECT_FALSE(committed);
  EXPECT_EQ(error, "--report: cannot write " + scratch.at("out") + ": File too large");
  EXPECT_EQ(scratch.read("out"), "earlier run\n");
  EXPECT_EQ(scratch.listing(), "out\n");
}

TEST(OutputFileTest, StandardOutputIsWrittenDirectlyAndItsFailureNamed) {
  std::fflush(stdout);
  const int saved = dup(STDOUT_FILENO);
  const int full = open("/dev/full", O_WRONLY);
  ASSERT_GE(full, 0);
  dup2(full, STDOUT_FILENO);
  std::string error;
  std::unique_ptr<OutputFile> out = OutputFile::open("-", "-o", &error);
  ASSERT_NE(out, nullptr) << error;
  put(*out, std::string(64 * 1024, 'x'));
  const bool committed = out->commit(&error);
  dup2(saved, STDOUT_FILENO);
  close(saved);
  close(full);
  EXPECT_FALSE(committed);
  EXPECT_EQ(error, "-o: cannot write standard output: No space left on device");
  EXPECT_EQ(out->errorNumber(), ENOSPC);
}

TEST(OutputFileTest, RefusesAnOutputThatIsAnInputOrAnotherOutput) {
  Scratch scratch;
  scratch.write("run.jsonl", "{}\n");
  ASSERT_EQ(link(scratch.at("run.jsonl").c_str(), scratch.at("hard").c_str()), 0);
  ASSERT_EQ(symlink("run.jsonl", scratch.at("soft").c_str()), 0);
  const std::string run = scratch.at("run.jsonl");
  const std::string dir = scratch.path;
  struct Case {
    std::vector<nexhost::NamedPath> outputs;
    std::string error;  // empty: allowed
    const char* why;
  };
  const Case cases[] = {
      {{{"-o", run}},
       "-o: " + run + " is the same file as the run " + run +
           "; writing it would destroy its input",
       "report run.jsonl -o run.jsonl emptied the run before reading it"},
      {{{"-o", dir + "/hard"}}, "is the same file as the run", "a hard link is the same file"},
      {{{"-o", dir + "/soft"}}, "is the same file as the run", "so is a link to it"},
      {{{"--record", dir + "/new.json"}, {"--report", dir + "/./new.json"}},
       "--report: " + dir + "/./new.json is the same file as --record " + dir + "/new.json",
       "two new names for one file: the report replaced the recording"},
      {{{"--record", dir + "/a.json"}, {"--report", dir + "/a.html"}}, "", "distinct names"},
      {{{"--report", "-"}, {"-o", "-"}}, "", "standard output is the caller's to share"},
      {{{"--report", dir + "/no-dir/r.html"}}, "", "opening it says what is wrong"},
  };
  for (const Case& c : cases) {
    std::string error;
    const bool allowed = nexhost::checkDistinctOutputs({{"the run", run}}, c.outputs, &error);
    EXPECT_EQ(allowed, c.error.empty()) << c.why << ": " << error;
    EXPECT_NE(error.find(c.error), std::string::npos) << c.why << ": " << error;
  }
}

}  // namespace
