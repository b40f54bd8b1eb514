// Host framework operations are defined by the host library and bound by the plug-in at
// load time; they keep default visibility even when the plug-in builds with hidden
// visibility.
#pragma once

#define NEX_API __attribute__((visibility("default")))

// Host-side implementation objects behind the framework classes. The plug-in only ever
// holds pointers to the framework classes, so it never needs these definitions.
namespace nexhost {
class Logger;
class Modem;
class Scheduler;
class SupplicantBackend;
class Engine;
}  // namespace nexhost
