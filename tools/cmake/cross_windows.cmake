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

if(NOT EXISTS ${QUOVEL_WINDOWS_DEPS}/../key)
  message(FATAL_ERROR "The codec libraries for Windows are missing: make windows builds them (tools/windows-deps)")
endif()

# Everything is linked in, also the C++ runtime: one file to ship, which imports Windows alone.
set(ZLIB_USE_STATIC_LIBS ON)
add_link_options(-static)

# Addresses at random in the whole address space, no data that runs as code. No times in the files, so that two builds of
# the same sources are the same byte by byte.
add_link_options(-Wl,--dynamicbase,--high-entropy-va,--nxcompat,--no-insert-timestamp)
add_compile_options(-g1)

# The codec libraries are static (tools/windows-deps). Their modules for CMake take them for DLLs: what each needs
# beside itself follows here.
find_package(ZLIB REQUIRED)
find_package(JPEG REQUIRED)
find_package(TIFF 4.5 REQUIRED)
target_link_libraries(TIFF::TIFF INTERFACE ${QUOVEL_WINDOWS_DEPS}/lib/liblzma.a ${QUOVEL_WINDOWS_DEPS}/lib/libzstd.a
                                           ${QUOVEL_WINDOWS_DEPS}/lib/libwebp.a ${QUOVEL_WINDOWS_DEPS}/lib/libLerc.a
                                           ${QUOVEL_WINDOWS_DEPS}/lib/libdeflate.a
                                           JPEG::JPEG ZLIB::ZLIB)
find_package(PkgConfig REQUIRED)
pkg_check_modules(openjp2 REQUIRED IMPORTED_TARGET libopenjp2>=2.5)
target_compile_definitions(PkgConfig::openjp2 INTERFACE OPJ_STATIC)

# build/windows/bin can be distributed as it is: what its programs and libraries need is copied beside them.
set(handed_out ${CMAKE_RUNTIME_OUTPUT_DIRECTORY})
configure_file(include/quovel_adapter_2411/quovel_adapter.h ${handed_out}/quovel_adapter_2411/quovel_adapter.h COPYONLY)
file(REMOVE_RECURSE ${handed_out}/notices) # of libraries that are linked no more
configure_file(LICENSE ${handed_out}/notices/LICENSE COPYONLY)
configure_file(NOTICES.md ${handed_out}/notices/NOTICES.md COPYONLY)
foreach(package gcc-mingw-w64-x86-64-posix-runtime libcli11-dev libz-mingw-w64-dev mingw-w64-x86-64-dev
                rapidjson-dev)
  configure_file(/usr/share/doc/${package}/copyright ${handed_out}/notices/${package}.txt COPYONLY)
endforeach()
file(COPY ${QUOVEL_WINDOWS_DEPS}/notices DESTINATION ${handed_out})

# What is shipped is stripped; its debug symbols are in a file of the same name and ".debug" beside it, which gdb finds.
function(quovel_split_debug_symbols target)
  set(file $<TARGET_FILE:${target}>)
  set(without_time ${CMAKE_COMMAND} -E env SOURCE_DATE_EPOCH=0) # these tools would write one again
  target_link_options(${target} PRIVATE -Wl,-Map=${CMAKE_BINARY_DIR}/${target}.map) # tools/make-sbom reads it
  add_custom_command(TARGET ${target} POST_BUILD
    COMMAND ${without_time} ${CMAKE_OBJCOPY} --only-keep-debug ${file} ${file}.debug
    COMMAND ${without_time} ${CMAKE_STRIP} ${file}
    COMMAND ${without_time} ${CMAKE_OBJCOPY} --add-gnu-debuglink=${file}.debug ${file}
    VERBATIM)
endfunction()
