# The import library for Microsoft's linker and the .def file that it is made of, beside the DLL. The linker of MinGW makes
# the .def (with ordinals, which must not become a promise); llvm-dlltool makes the library in the short form.
find_program(LLVM_DLLTOOL NAMES llvm-dlltool llvm-dlltool-14 llvm-dlltool-15 llvm-dlltool-16 REQUIRED)
set(exports ${CMAKE_RUNTIME_OUTPUT_DIRECTORY}/quovel_adapter_2411)
target_link_options(quovel_adapter_2411 PRIVATE -Wl,--output-def,${exports}.def)
add_custom_command(TARGET quovel_adapter_2411 POST_BUILD
  COMMAND sed -i "s/ @[0-9]*.*//" ${exports}.def
  COMMAND ${LLVM_DLLTOOL} -m i386:x86-64 -D quovel_adapter_2411.dll -d ${exports}.def -l ${exports}.lib
  BYPRODUCTS ${exports}.def ${exports}.lib
  VERBATIM)
