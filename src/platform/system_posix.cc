// Placeholder backend; replaced by the real one.
#include "platform/system.h"
