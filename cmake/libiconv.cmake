# libiconv, as the npm package "iconv" has it.
cmake_minimum_required(VERSION 3.25)
project(iconv LANGUAGES C)
add_library(iconv STATIC deps/libiconv/lib/iconv.c support/localcharset.c)
target_include_directories(iconv PRIVATE support)
target_compile_definitions(iconv PRIVATE ICONV_CONST= ENABLE_EXTRA=1)
install(TARGETS iconv)
install(FILES support/iconv.h DESTINATION include)
