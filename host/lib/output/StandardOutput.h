#pragma once

namespace nexhost {

// Standard output as nexhost writes it: every write checked, a reader that goes away
// (head, grep -m1) taken as having read enough.

// Makes a write to a closed pipe fail with EPIPE instead of ending the process, so that a
// live session still stops its requests and writes its files. A handler that does
// nothing, not SIG_IGN: the programs nexhost starts get the default back.
void catchBrokenPipe();

// The exit status once standard output is flushed: `status`, or 1 (when `status` is 0)
// with one line on stderr when a write to it failed, earlier (`writeError`, an errno) or
// in this flush. A reader that went away (EPIPE) is no failure: that ends quietly.
int finishStandardOutput(int status, int writeError = 0);

}  // namespace nexhost
