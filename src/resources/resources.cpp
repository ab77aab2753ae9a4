// Empty on purpose: CMake links the pictures as object files into every user of this library, but a
// library needs a source file of its own.
