# One INTERFACE target carries the warning policy so every library, program and
# test of the project is held to the same rules in every build.
# The locale's date and time ("%c") is part of the log formats, two-digit year
# and all, so the warning against it is off.
add_library(sqxa_warnings INTERFACE)
target_compile_options(sqxa_warnings INTERFACE
  -Wall -Wextra -Werror -Wformat=2 -Wno-format-y2k -Wshadow -Wnon-virtual-dtor)
