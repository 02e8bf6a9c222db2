/* A shared library of one function: what loading a library with these dependencies costs at least. */
__attribute__((visibility("default"))) int empty_library(void);
int empty_library(void) { return 0; }
