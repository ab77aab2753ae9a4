// Empty on purpose: the pictures are object files that CMake hands on to whatever links this
// library, and a library needs one source of its own.
