# Where this platform's side of each twin file lies.
set(ZEL_TWIN linux)
if(WIN32)
  set(ZEL_TWIN windows)
endif()

# zel_layer(NAME DEPENDS...): one folder of src/ as an object library. A layer sees its own headers
# and those of the layers that it names, so an include that points up does not build.
function(zel_layer name)
  file(GLOB sources CONFIGURE_DEPENDS *.cpp ${ZEL_TWIN}/*.cpp)
  add_library(zel_${name} OBJECT ${sources})
  target_include_directories(zel_${name} PUBLIC
    ${CMAKE_CURRENT_SOURCE_DIR} ${CMAKE_CURRENT_SOURCE_DIR}/${ZEL_TWIN} ${PROJECT_SOURCE_DIR}/include)
  target_compile_definitions(zel_${name} PUBLIC ZEL_STATIC)
  target_link_libraries(zel_${name} PRIVATE zel_options PUBLIC Threads::Threads)
  foreach(below ${ARGN})
    target_link_libraries(zel_${name} PUBLIC zel_${below})
  endforeach()
endfunction()
