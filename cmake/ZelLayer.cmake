# zel_layer(NAME DEPENDS...): one folder of src/ as an object library. A layer sees its own headers
# and those of the layers that it names, so an include that points up does not build.
function(zel_layer name)
  if(WIN32)
    set(twin windows)
  else()
    set(twin linux)
  endif()
  file(GLOB sources CONFIGURE_DEPENDS *.cpp ${twin}/*.cpp)
  add_library(zel_${name} OBJECT ${sources})
  target_include_directories(zel_${name} PUBLIC ${CMAKE_CURRENT_SOURCE_DIR}
                             PRIVATE ${CMAKE_CURRENT_SOURCE_DIR}/${twin})
  target_include_directories(zel_${name} PUBLIC ${PROJECT_SOURCE_DIR}/include)
  target_compile_definitions(zel_${name} PUBLIC ZEL_STATIC)
  target_link_libraries(zel_${name} PRIVATE zel_options PUBLIC Threads::Threads)
  foreach(below ${ARGN})
    target_link_libraries(zel_${name} PUBLIC zel_${below})
  endforeach()
endfunction()
