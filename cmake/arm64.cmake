# Debian's cross compiler for arm64. What is built runs under qemu with the C library and the others as arm64 packages
# installed beside the machine's own: the copies below /usr/aarch64-linux-gnu are for linking only, and a loader from
# there with a C library from here breaks fork.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR aarch64)
set(CMAKE_CXX_COMPILER aarch64-linux-gnu-g++)
set(CMAKE_LIBRARY_ARCHITECTURE aarch64-linux-gnu)
set(CMAKE_CROSSCOMPILING_EMULATOR qemu-aarch64)
