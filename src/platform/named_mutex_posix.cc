// Placeholder backend; replaced by the real one.
#include "platform/named_mutex.h"
