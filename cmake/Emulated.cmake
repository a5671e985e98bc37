# Tests and scripts start programs by their path. A program that only an emulator
# can run lies one folder deeper, and a script in its place has it run. The machine
# itself needs not know foreign programs that way.
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
