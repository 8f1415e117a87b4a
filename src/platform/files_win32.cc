// Placeholder backend; replaced by the real one.
#include "platform/files.h"
