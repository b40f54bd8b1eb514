// nexhost: the host framework on Linux. Loads the plug-in as the handset does and shows
// every message it sends to the modem, replaying a scenario on a virtual clock or
// driving a live wpa_supplicant.
#include <CLI/CLI.hpp>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "Command.h"
#include "Manual.h"
#include "NexhostVersion.h"
#include "Output.h"
#include "UsageError.h"
#include "framework/Plugin.h"
#include "modem/Records.h"
#include "output/OutputFile.h"
#include "output/StandardOutput.h"

namespace nexhost {
namespace {

const char* kDescription =
    "nexhost loads the Wi-Fi measurement plug-in (libmdxwifi.so) the way the handset's\n"
    "framework does (dlopen, init, initializeLinks) and prints, in order and with its time,\n"
    "everything the plug-in does to its host: modem messages decoded field by field,\n"
    "supplicant commands and scan filters, hostapd_cli command lines, timers, decision-engine\n"
    "registrations and log lines. decode prints records taken from a modem log the same way.\n"
    "Every text it prints, text or JSON, is ASCII: a byte outside printable ASCII, and the\n"
    "backslash, prints as \\xNN, so the exact bytes can always be read back.";

// The top-level help's examples and exit codes; the manual page has them as sections.
const char* kExamples =
    "  nexhost run examples/scan-bss-load.json\n"
    "  nexhost run --json examples/default-profile.json | jq 'select(.kind==\"modem\")'\n"
    "  nexhost live --sta-socket /var/run/wpa_supplicant/wlan0 --ssid any --bss-load\n"
    "  nexhost run --report run.html examples/connected-rssi.json\n"
    "  nexhost decode --json < records-from-a-modem-log.txt\n"
    "  nexhost diff --ignore-time live.jsonl replay.jsonl\n";
const char* kExitCodes =
    "  0  done (a live run also ends with 0 after Ctrl-C); diff: the runs are equal\n"
    "  1  the plug-in cannot be loaded, a control socket cannot be reached,\n"
    "     wpa_supplicant went away, or an output could not be written; diff: the runs\n"
    "     differ\n"
    "  2  invalid command line or scenario, or an output refused (nothing has run), or\n"
    "     bad input to decode, report or diff\n";
// What happens to the files nexhost writes; the manual page has it as a section.
const char* kOutputFiles =
    "Output files (--report, --record, -o) are written under a temporary name beside the\n"
    "file and renamed over it only once complete: a run that fails, is cut or is killed\n"
    "leaves an existing file as it was. An existing file keeps its permissions; a symbolic\n"
    "link is followed (the file it points to is replaced, the link kept). Refused with exit\n"
    "code 2 before anything runs: an output that is the same file as an input or as another\n"
    "output, and one that is neither a regular file nor a new name (a device, a FIFO, a\n"
    "directory). A failed write, standard output's included, is exit code 1. A reader of\n"
    "standard output that stops reading (head, grep -m1) ends the output quietly with exit\n"
    "code 0; a live run then stops every request and writes its files, as on SIGTERM.\n";

// The plug-in nexhost loads unless --plugin names one.
std::string defaultPlugin() {
  const char* path = std::getenv("NEXHOST_PLUGIN");
  return path != nullptr && *path != '\0' ? path : Plugin::besideHostLibrary();
}

// nexhost --help-man SECTIONS and --help-completion: the manual page (with the hand-written
// roff SECTIONS file) and the bash completion, written at build time from this command
// line itself. Hidden from --help.
void addDocumentationWriters(CLI::App& app) {
  app.add_option_function<std::string>("--help-man",
                                       [&app](const std::string& sectionsFile) {
                                         std::ifstream in(sectionsFile);
                                         std::ostringstream sections;
                                         sections << in.rdbuf();
                                         if (!in) throw CLI::FileError::Missing(sectionsFile);
                                         ManualTexts texts{NEXHOST_VERSION " (" NEXHOST_COMMIT ")",
                                                           NEXHOST_DATE, kExamples, kExitCodes,
                                                           sections.str()};
                                         std::fputs(manPage(app, texts).c_str(), stdout);
                                         throw CLI::Success();
                                       })
      ->group("");
  app.add_flag_callback("--help-completion",
                        [&app] {
                          std::vector<std::string> levelNames;
                          for (const auto& level : logLevels()) levelNames.push_back(level.first);
                          std::vector<std::string> recordTypes;
                          for (const RecordKind& kind : recordKinds()) {
                            recordTypes.push_back(kind.name);
                          }
                          std::fputs(bashCompletion(app, {{"--only", eventKindNames()},
                                                          {"--ignore", eventKindNames()},
                                                          {"--log-level", levelNames},
                                                          {"--type", recordTypes}})
                                         .c_str(),
                                     stdout);
                          throw CLI::Success();
                        })
      ->group("");
}

// The command line parsed and run; the exit status.
int runNexhost(int argc, char** argv) {
  CLI::App app{kDescription, "nexhost"};
  app.footer(std::string("\nExamples:\n") + kExamples + "\nExit codes:\n" + kExitCodes + "\n" +
             kOutputFiles +
             "\nScenario format and output keys: docs/scenarios.md (installed in\n"
             "/usr/share/doc/nexhost/), or man nexhost.\n");
  app.require_subcommand(1);
  app.fallthrough();
  app.set_version_flag("-V,--version",
                       "nexhost " NEXHOST_VERSION " (" NEXHOST_COMMIT ", " NEXHOST_DATE ")");

  GlobalOptions global{defaultPlugin()};
  app.add_option("--plugin", global.pluginPath,
                 "the plug-in to load (default: $NEXHOST_PLUGIN, else the libmdxwifi.so "
                 "beside libnex.so: the build's, or ../lib/<arch>/nexhost/ from the installed "
                 "nexhost)")
      ->type_name("FILE");
  std::vector<std::pair<CLI::App*, std::function<int()>>> defined;
  for (const Command& c : commands()) {
    CLI::App* command = app.add_subcommand(c.name, c.summary);
    defined.emplace_back(command, c.define(command, global));
  }

  addDocumentationWriters(app);
  try {
    app.parse(argc, argv);
  } catch (const CLI::CallForVersion& e) {
    return app.exit(e);
  } catch (const CLI::CallForHelp& e) {
    return app.exit(e);
  } catch (const CLI::CallForAllHelp& e) {
    return app.exit(e);
  } catch (const CLI::Success& e) {  // --help-man, --help-completion: written already
    return kExitOk;
  } catch (const CLI::ParseError& e) {
    std::fprintf(stderr, "%s\n",
                 usageError(app, std::vector<std::string>(argv + 1, argv + argc), e).c_str());
    return kExitUsage;
  }
  for (const auto& [command, run] : defined) {
    if (command->parsed()) return run();
  }
  return kExitUsage;  // unreachable: a subcommand is required
}

}  // namespace
}  // namespace nexhost

int main(int argc, char** argv) {
  nexhost::catchBrokenPipe();
  nexhost::OutputFile::removeTemporariesOnSignal();
  const int status = nexhost::runNexhost(argc, argv);
  // Help and version texts, events and reports alike: a failed write is exit status 1.
  return nexhost::finishStandardOutput(status, nexhost::standardOutputError());
}
