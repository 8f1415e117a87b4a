# One INTERFACE target carries the warning policy so every library, program and
# test of the project is held to the same rules in every build.
add_library(sqxa_warnings INTERFACE)
target_compile_options(sqxa_warnings INTERFACE
  -Wall -Wextra -Werror -Wformat=2 -Wno-format-nonliteral -Wshadow -Wnon-virtual-dtor)
