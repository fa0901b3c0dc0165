# CMake takes a machine that cannot tell its release of macOS for one whose linker knows no rpath.
set(CMAKE_SHARED_LIBRARY_RUNTIME_C_FLAG "-Wl,-rpath,")
