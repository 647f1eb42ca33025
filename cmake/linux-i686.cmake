# Builds for 32-bit x86 on a 64-bit Debian machine: `cmake --preset i686`. It is the cheap way to a host where
# pointers, size_t and long have 32 bits. What it builds runs on the machine itself.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR i686)
set(CMAKE_C_COMPILER gcc)
set(CMAKE_CXX_COMPILER g++)
# The kernel's headers serve both, but the compiler looks for them elsewhere.
set(CMAKE_C_FLAGS_INIT "-m32 -idirafter /usr/include/x86_64-linux-gnu")
set(CMAKE_CXX_FLAGS_INIT "-m32 -idirafter /usr/include/x86_64-linux-gnu")
