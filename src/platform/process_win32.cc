// Placeholder backend; replaced by the real one.
#include "platform/process.h"
