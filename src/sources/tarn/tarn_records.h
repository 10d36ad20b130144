// The records a store records object holds, as a span (the store's helper,
// under the name the `.trn` source has always used).
#pragma once

#include "platform/store/record_items.h"
