# One INTERFACE target carries the warning policy so every library, program and
# test of the project is held to the same rules in every build.
# The locale's date and time ("%c") is part of the log formats, two-digit year
# and all, so the warning against it is off.
add_library(sqxa_warnings INTERFACE)
# A newer compiler may warn where this one does not: a user's own build goes on,
# the presets and CI stop.
target_compile_options(sqxa_warnings INTERFACE
  -Wall -Wextra -Wformat=2 -Wno-format-y2k -Wshadow -Wnon-virtual-dtor
  $<$<BOOL:${SQXA_WARNINGS_AS_ERRORS}>:-Werror>)
