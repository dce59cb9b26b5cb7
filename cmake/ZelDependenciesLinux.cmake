# Everything comes from the distribution, whose headers are on the compiler's own path.

find_package(pugixml REQUIRED)
find_package(CLI11 REQUIRED)
find_package(nlohmann_json REQUIRED)
find_path(ZEL_ASIO_INCLUDE asio.hpp REQUIRED)

# The library carries its XML parser with it. The parser's names stay inside.
if(TARGET pugixml::static)
  target_link_libraries(zel_pugixml INTERFACE pugixml::static)
  target_link_options(zel_pugixml INTERFACE -Wl,--exclude-libs,libpugixml.a)
else()
  target_link_libraries(zel_pugixml INTERFACE pugixml::pugixml)
endif()
get_target_property(pugixml_include pugixml::pugixml INTERFACE_INCLUDE_DIRECTORIES)
if(pugixml_include)
  target_include_directories(zel_pugixml_headers SYSTEM INTERFACE ${pugixml_include})
endif()

target_include_directories(zel_asio SYSTEM INTERFACE ${ZEL_ASIO_INCLUDE})
target_link_libraries(zel_cli11 INTERFACE CLI11::CLI11)
target_link_libraries(zel_json INTERFACE nlohmann_json::nlohmann_json)

if(ZEL_BUILD_TOOLS)
  find_package(ZLIB REQUIRED)
  find_path(ZEL_HDF5_INCLUDE hdf5.h PATH_SUFFIXES hdf5/serial REQUIRED)
  find_library(ZEL_HDF5_LIBRARY NAMES hdf5_serial hdf5 REQUIRED)
  find_library(ZEL_HDF5_HL_LIBRARY NAMES hdf5_serial_hl hdf5_hl REQUIRED)
  target_include_directories(zel_hdf5 SYSTEM INTERFACE ${ZEL_HDF5_INCLUDE})
  target_link_libraries(zel_hdf5 INTERFACE ${ZEL_HDF5_HL_LIBRARY} ${ZEL_HDF5_LIBRARY} ZLIB::ZLIB)
endif()

if(ZEL_BUILD_TESTS)
  find_package(GTest REQUIRED)
endif()
if(ZEL_BUILD_BENCH)
  find_package(benchmark REQUIRED)
endif()
