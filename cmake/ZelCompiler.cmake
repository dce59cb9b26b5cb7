# Warnings, sanitizers and the run-time that every target of this project is built with.

add_library(zel_options INTERFACE)
target_compile_options(zel_options INTERFACE
  -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wsign-conversion -Wnon-virtual-dtor
  -Woverloaded-virtual -Wcast-qual -Wformat=2 -Wimplicit-fallthrough -Wundef)
# C has no virtual functions: these two are for C++ only.
get_target_property(_zel_flags zel_options INTERFACE_COMPILE_OPTIONS)
list(TRANSFORM _zel_flags REPLACE "^(-Wnon-virtual-dtor|-Woverloaded-virtual)$"
     "$<$<COMPILE_LANGUAGE:CXX>:\\1>")
list(TRANSFORM _zel_flags REPLACE "^(-W.*)$" "$<$<NOT:$<COMPILE_LANGUAGE:RC>>:\\1>")
set_target_properties(zel_options PROPERTIES INTERFACE_COMPILE_OPTIONS "${_zel_flags}")
# A header that both platforms share may have a member that only one of them uses.
target_compile_options(zel_options INTERFACE $<$<CXX_COMPILER_ID:Clang>:-Wno-unused-private-field>)
if(ZEL_WERROR)
  target_compile_options(zel_options INTERFACE $<$<NOT:$<COMPILE_LANGUAGE:RC>>:-Werror>)
endif()

if(ZEL_SANITIZE)
  add_compile_options(-fsanitize=${ZEL_SANITIZE} -fno-omit-frame-pointer -fno-sanitize-recover=all)
  add_link_options(-fsanitize=${ZEL_SANITIZE})
endif()

# For programs that are mostly headers of others: they need no speed, and the checks of undefined
# behaviour in those headers would take longer to compile than all the rest.
add_library(zel_program_options INTERFACE)
target_compile_options(zel_program_options INTERFACE -O1 -g1)
if(ZEL_SANITIZE MATCHES "undefined")
  target_compile_options(zel_program_options INTERFACE -fno-sanitize=undefined)
endif()

if(ZEL_BUILD_FUZZERS)
  if(NOT CMAKE_CXX_COMPILER_ID STREQUAL "Clang")
    message(FATAL_ERROR "The fuzz targets need clang: cmake --preset fuzz")
  endif()
  # Coverage everywhere; only the fuzz programs link libFuzzer's own main.
  add_compile_options(-fsanitize=fuzzer-no-link)
endif()

if(WIN32)
  # One file on the target: the C++ run-time and the thread library are linked in.
  add_compile_definitions(WIN32_LEAN_AND_MEAN NOMINMAX _WIN32_WINNT=0x0A00 UNICODE _UNICODE
                          __USE_MINGW_ANSI_STDIO=1)
  add_link_options(-static -static-libgcc -static-libstdc++)
else()
  add_compile_definitions(_GNU_SOURCE)
endif()
