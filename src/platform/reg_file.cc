#include "platform/reg_file.h"
