# What our own code is held to. That a warning is an error is the presets' affair: whoever packages
# the library with a compiler that we have not met is not stopped by it.
add_library(smtpclient_warnings INTERFACE)
target_compile_options(smtpclient_warnings INTERFACE
    -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wsign-conversion -Wold-style-cast -Wundef
    -Wnon-virtual-dtor -Woverloaded-virtual -Wcast-qual -Wformat=2
    $<$<CXX_COMPILER_ID:GNU>:-Wduplicated-cond -Wduplicated-branches -Wlogical-op -Wuseless-cast>
    $<$<CXX_COMPILER_ID:Clang>:-Wthread-safety>)
