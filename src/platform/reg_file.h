// Placeholder; replaced by the registry file reader.
#pragma once
