# What a cross-build for Windows on Debian needs beside the compiler.

# Header-only libraries: their own folders are linked into the build tree and found there. /usr/include as a whole must
# never reach MinGW, it holds the C library of this machine.
foreach(folder rapidjson CLI)
  if(EXISTS /usr/include/${folder})
    file(MAKE_DIRECTORY ${CMAKE_BINARY_DIR}/headers/include)
    file(CREATE_LINK /usr/include/${folder} ${CMAKE_BINARY_DIR}/headers/include/${folder} SYMBOLIC)
  endif()
endforeach()
list(APPEND CMAKE_FIND_ROOT_PATH ${CMAKE_BINARY_DIR}/headers)

# The runtime libraries stand beside our own: exceptions cross from one to the other, so they must share one runtime.
foreach(name libstdc++-6.dll libgcc_s_seh-1.dll libwinpthread-1.dll)
  execute_process(COMMAND ${CMAKE_CXX_COMPILER} -print-file-name=${name} OUTPUT_VARIABLE file
                  OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
  file(COPY ${file} DESTINATION ${CMAKE_RUNTIME_OUTPUT_DIRECTORY} FOLLOW_SYMLINK_CHAIN)
endforeach()
