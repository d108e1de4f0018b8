# ZOLTInference: what stands on the engine's exports. Eigen and Boost.Math are headers only, and no
# consumer needs them.
find_path(EIGEN_INCLUDE Eigen/Core PATHS /usr/include PATH_SUFFIXES eigen3 REQUIRED)
find_path(BOOST_INCLUDE boost/math/distributions/students_t.hpp PATHS /usr/include REQUIRED)
set(boost_include ${BOOST_INCLUDE})
if(CMAKE_CROSSCOMPILING)
  # Beside Boost lie the headers of this machine's C library, which no other target may see.
  set(boost_include ${PROJECT_BINARY_DIR}/headers)
  file(MAKE_DIRECTORY ${boost_include})
  file(CREATE_LINK ${BOOST_INCLUDE}/boost ${boost_include}/boost SYMBOLIC)
endif()

file(GLOB inference_sources CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/src/inference/*.cpp)
add_library(zolt_inference_objects OBJECT ${inference_sources})
target_include_directories(zolt_inference_objects
  PUBLIC ${PROJECT_SOURCE_DIR}/include ${PROJECT_SOURCE_DIR}/src)
target_include_directories(zolt_inference_objects SYSTEM PUBLIC ${EIGEN_INCLUDE} ${boost_include})
target_compile_definitions(zolt_inference_objects PUBLIC ZOLTI_BUILDING_LIBRARY)
target_link_libraries(zolt_inference_objects PRIVATE zolt_options)
if(CMAKE_SYSTEM_NAME STREQUAL "Generic")
  # WebAssembly has no threads and its runtime no mutex: Boost's, which nothing here uses, stays out.
  target_compile_definitions(zolt_inference_objects PRIVATE
    BOOST_SMART_PTR_DETAIL_LIGHTWEIGHT_MUTEX_HPP_INCLUDED)
endif()
if(NOT MSVC)
  # Nothing here throws, and so the libraries of headers must not either.
  target_compile_options(zolt_inference_objects PRIVATE -fno-exceptions)
endif()
set_target_properties(zolt_inference_objects PROPERTIES
  POSITION_INDEPENDENT_CODE ON CXX_EXTENSIONS OFF
  CXX_VISIBILITY_PRESET hidden VISIBILITY_INLINES_HIDDEN ON)

add_library(ZOLTInference SHARED $<TARGET_OBJECTS:zolt_inference_objects>)
add_library(ZOLTFittingEngine::ZOLTInference ALIAS ZOLTInference)
target_include_directories(ZOLTInference INTERFACE
  $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}/include> $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}>)
target_link_libraries(ZOLTInference PRIVATE ZOLTFittingEngine $<BUILD_INTERFACE:zolt_options>)
# Wherever both lie in one folder they find one another, in a Python package as well.
set_target_properties(ZOLTInference PROPERTIES
  LINKER_LANGUAGE CXX VERSION ${PROJECT_VERSION} SOVERSION ${zolt_abi}
  INSTALL_RPATH $ORIGIN BUILD_RPATH_USE_ORIGIN ON)
if(ZOLT_OLDER_SYSTEMS)
  target_sources(zolt_inference_objects PRIVATE cmake/older_runtime.cpp)
  target_compile_options(zolt_inference_objects PRIVATE
    $<$<COMPILE_LANGUAGE:CXX>:-include${PROJECT_SOURCE_DIR}/cmake/older_libm.h>)
endif()
if(MINGW)
  target_link_options(ZOLTInference PRIVATE -static)
endif()
if(CMAKE_EXECUTABLE_FORMAT STREQUAL "ELF")
  set(inference_exports ${PROJECT_SOURCE_DIR}/cmake/inference_exports.map)
  target_link_options(ZOLTInference PRIVATE LINKER:--version-script=${inference_exports})
  set_target_properties(ZOLTInference PROPERTIES LINK_DEPENDS ${inference_exports})
  if(CMAKE_OBJCOPY)
    add_custom_command(TARGET ZOLTInference POST_BUILD VERBATIM
      COMMAND ${CMAKE_OBJCOPY} --remove-section=.comment $<TARGET_FILE:ZOLTInference>)
  endif()
endif()

install(TARGETS ZOLTInference EXPORT ZOLTFittingEngineTargets
  LIBRARY COMPONENT inference NAMELINK_COMPONENT development
  RUNTIME COMPONENT inference ARCHIVE COMPONENT development)
install(FILES include/zolt_inference.h
  DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} COMPONENT development)
configure_file(cmake/ZOLTInference.pc.in ZOLTInference.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/ZOLTInference.pc
  DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT development)
