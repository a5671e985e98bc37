# Options that harden the library against its own faults. Fortified functions need
# optimisation, which the sanitizers' Debug builds do not have.
add_library(ostrl_hardening INTERFACE)
target_compile_options(ostrl_hardening INTERFACE -fstack-protector-strong
  "$<$<CONFIG:Release,RelWithDebInfo,MinSizeRel>:-U_FORTIFY_SOURCE;-D_FORTIFY_SOURCE=2>")
target_link_options(ostrl_hardening INTERFACE LINKER:-z,relro LINKER:-z,now)
