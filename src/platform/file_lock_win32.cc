// Placeholder backend; replaced by the real one.
#include "platform/file_lock.h"
