// What run and live share: the options that shape their output, and a session whose
// events go to the printer, the report and the progress line.
#pragma once

#include <CLI/CLI.hpp>
#include <memory>
#include <string>
#include <vector>

#include "Progress.h"
#include "events/EventPrinter.h"
#include "framework/Host.h"
#include "framework/Plugin.h"
#include "output/OutputFile.h"
#include "report/Report.h"

namespace nexhost {

struct OutputOptions {
  bool json = false;
  bool quiet = false;
  int logLevel = 3;
  std::vector<std::string> only;
  std::string report;
};

// --json, -q, --log-level, --only and --report.
void addOutputOptions(CLI::App* command, OutputOptions* out);

// The first failed write to standard output (an errno; 0: none): the exit status says it.
int standardOutputError();
void noteOutputFailure(int error);
// A live session whose output fails stops as on SIGTERM: its requests are stopped, and its
// recording and report still written.
void noteOutputFailureAndStop(int error);

std::unique_ptr<EventPrinter> makePrinter(bool json, void (*onFailure)(int));

// Refuses, before anything runs, an output that would replace an input or another output,
// and asks for a file where standard output already carries the events. False: refused,
// with one line on stderr.
bool checkOutputs(const std::vector<NamedPath>& inputs, const std::vector<NamedPath>& outputs,
                  bool eventsOnStandardOutput);

// One host: its output hooked up, the plug-in loaded and handed its links.
struct Session {
  std::unique_ptr<Plugin> plugin;
  std::unique_ptr<EventPrinter> printer;
  std::unique_ptr<ReportFile> report;
  std::unique_ptr<Progress> progress;  // a replay's, on a terminal
};

// --report: the file is opened before anything runs, so that a path that cannot be
// written is refused with exit code 2. An earlier report stays until the new one is done.
bool openReport(const OutputOptions& out, const std::string& source, Session* session);
// Hooks the session to the host's events, loads the plug-in and initialises its links.
// False (one line on stderr) when the plug-in cannot be loaded.
bool startSession(Host& host, const std::string& pluginPath, const OutputOptions& out,
                  void (*onOutputFailure)(int), Session* session);
// Writes the report once the run has ended, whatever its outcome; the exit status.
int finishReport(Session& session, int status);

}  // namespace nexhost
