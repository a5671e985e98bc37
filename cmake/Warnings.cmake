# Strict warnings for our own targets only: a private interface target, so
# that neither an including project nor an installed consumer inherits them.
add_library(ostrl_warnings INTERFACE)
target_compile_options(ostrl_warnings INTERFACE
  -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Werror)
