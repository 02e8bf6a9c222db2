# What a cross-build for Windows on Debian needs beside the compiler.

# Header-only libraries: their own folders are linked into the build tree and found there. /usr/include as a whole must
# never reach MinGW, it holds the C library of this machine.
set(headers ${CMAKE_BINARY_DIR}/headers)
file(MAKE_DIRECTORY ${headers}/include ${headers}/share/cmake)
foreach(folder include/CLI include/rapidjson share/cmake/CLI11)
  file(CREATE_LINK /usr/${folder} ${headers}/${folder} SYMBOLIC)
endforeach()
list(APPEND CMAKE_FIND_ROOT_PATH ${headers})
include_directories(SYSTEM ${headers}/include)

# zlib is linked in: one file less to hand out.
set(ZLIB_USE_STATIC_LIBS ON)

# The runtime libraries stand beside our own: exceptions cross from one to the other, so they must share one runtime.
foreach(name libstdc++-6.dll libgcc_s_seh-1.dll libwinpthread-1.dll)
  execute_process(COMMAND ${CMAKE_CXX_COMPILER} -print-file-name=${name} OUTPUT_VARIABLE file
                  OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
  file(COPY ${file} DESTINATION ${CMAKE_RUNTIME_OUTPUT_DIRECTORY} FOLLOW_SYMLINK_CHAIN)
  execute_process(COMMAND ${CMAKE_STRIP} ${CMAKE_RUNTIME_OUTPUT_DIRECTORY}/${name} COMMAND_ERROR_IS_FATAL ANY)
endforeach()

# build/windows/bin is ready to hand out: what the programs and libraries there do not bring themselves is laid beside them.
set(handed_out ${CMAKE_RUNTIME_OUTPUT_DIRECTORY})
configure_file(include/quovel_adapter_2411/quovel_adapter.h ${handed_out}/quovel_adapter_2411/quovel_adapter.h COPYONLY)
configure_file(LICENSE ${handed_out}/notices/LICENSE COPYONLY)
configure_file(NOTICES.md ${handed_out}/notices/NOTICES.md COPYONLY)
foreach(package gcc-mingw-w64-x86-64-posix-runtime libcli11-dev libz-mingw-w64-dev mingw-w64-x86-64-dev rapidjson-dev)
  configure_file(/usr/share/doc/${package}/copyright ${handed_out}/notices/${package}.txt COPYONLY)
endforeach()
