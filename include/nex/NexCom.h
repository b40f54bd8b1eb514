#pragma once

#include "nex/NexApi.h"

// The host's messaging link. The plug-in receives it and passes it on; it calls nothing
// on it.
class NEX_API NexCom {};
