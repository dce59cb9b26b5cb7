# The third-party libraries, behind names of our own. Natively they are the distribution's packages;
# for Windows the header-only ones are borrowed from there and the others are built from source.
# Their headers are system headers: what warns in them does not count.

find_package(Threads REQUIRED)

add_library(zel_pugixml INTERFACE)
add_library(zel_pugixml_headers INTERFACE)
add_library(zel_asio INTERFACE)
add_library(zel_cli11 INTERFACE)
add_library(zel_json INTERFACE)
add_library(zel_toml INTERFACE)
add_library(zel_hdf5 INTERFACE)

target_compile_definitions(zel_asio INTERFACE ASIO_STANDALONE ASIO_NO_DEPRECATED)
target_link_libraries(zel_asio INTERFACE Threads::Threads)
if(ZEL_SANITIZE MATCHES "thread")
  # The thread sanitizer does not follow free-standing fences. Asio's queue has its lock besides.
  target_compile_definitions(zel_asio INTERFACE ASIO_DISABLE_FENCED_BLOCK)
endif()

if(WIN32)
  include(ZelDependenciesWindows)
else()
  include(ZelDependenciesLinux)
endif()
