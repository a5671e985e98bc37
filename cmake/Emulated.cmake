# Tests and scripts start programs by their path. If only an emulator can run a program,
# the program lies one folder deeper and a script at its path starts the emulator. So the
# machine itself does not need to be able to start foreign programs.
function(ostrel_may_be_started target)
  if(NOT CMAKE_CROSSCOMPILING_EMULATOR)
    return()
  endif()
  set_target_properties(${target} PROPERTIES
    RUNTIME_OUTPUT_DIRECTORY "${CMAKE_CURRENT_BINARY_DIR}/emulated")
  list(JOIN CMAKE_CROSSCOMPILING_EMULATOR "' '" words)
  file(GENERATE OUTPUT "${CMAKE_CURRENT_BINARY_DIR}/$<TARGET_FILE_NAME:${target}>"
    CONTENT "#!/bin/sh\nexec '${words}' '$<TARGET_FILE:${target}>' \"$@\"\n"
    FILE_PERMISSIONS OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE
      WORLD_READ WORLD_EXECUTE)
endfunction()
