# Strict warnings for our own targets only: a private interface target, so
# that neither an including project nor an installed consumer inherits them.
# They are errors in the presets alone: somebody else's build goes on when a newer
# compiler finds more.
option(OSTREL_WARNINGS_AS_ERRORS "Treat the compiler's warnings as errors" OFF)

add_library(ostrl_warnings INTERFACE)
target_compile_options(ostrl_warnings INTERFACE -Wall -Wextra -Wpedantic -Wshadow -Wconversion
  $<$<BOOL:${OSTREL_WARNINGS_AS_ERRORS}>:-Werror>)
