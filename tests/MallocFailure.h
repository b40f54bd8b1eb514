// Lets a test make one malloc call of the plug-in fail. The test binary links with
// -Wl,--wrap=malloc, so direct malloc calls of the plug-in's objects (and of the tests) pass
// through here; the standard library's own allocations do not.
#pragma once

// The malloc call after `skip` more calls returns null; later calls succeed again.
void failMallocAfter(int skip = 0);
