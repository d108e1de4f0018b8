# The module of the page: engine and inference in one WebAssembly file that imports nothing. Built for
# size, for the page carries it as text; only where the time goes does speed come first.
set_source_files_properties(
  src/fit/damped_step.cpp src/fit/fit_models.cpp src/fit/levenberg_marquardt.cpp
  src/inference/separable.cpp
  PROPERTIES COMPILE_OPTIONS -O3)
set_target_properties(zolt_objects zolt_inference_objects PROPERTIES
  POSITION_INDEPENDENT_CODE OFF)

# What the page calls is what the headers declare.
file(STRINGS tests/abi/exports.txt page_exports REGEX "^ZOLTA_")
file(STRINGS include/zolt_inference.h inference_declarations REGEX "^ZOLTI_API")
foreach(declaration IN LISTS inference_declarations)
  string(REGEX MATCH "ZOLTI_[a-z_]+" name "${declaration}")
  list(APPEND page_exports ${name})
endforeach()
list(APPEND page_exports zolt_allocate zolt_free zolt_result_hash)
list(TRANSFORM page_exports PREPEND LINKER:--export=)

add_executable(zolt_page page/module/module.cpp
  tests/result_hash.cpp tests/support/generated_curves.cpp
  $<TARGET_OBJECTS:zolt_objects> $<TARGET_OBJECTS:zolt_inference_objects>)
target_include_directories(zolt_page PRIVATE include src tests)
target_compile_definitions(zolt_page PRIVATE ZOLT_BUILDING_LIBRARY ZOLTI_BUILDING_LIBRARY)
target_link_libraries(zolt_page PRIVATE zolt_options)
# Without optimisation, or the linker would run whatever wasm-opt lies in the path. The inference
# asks for 512 KiB of stack; it lies first, so that an overrun traps instead of writing over data.
target_link_options(zolt_page PRIVATE -O0 -mexec-model=reactor ${page_exports}
  LINKER:--strip-all LINKER:--fatal-warnings LINKER:-z,stack-size=524288)
set_target_properties(zolt_page PROPERTIES
  OUTPUT_NAME zolt SUFFIX .wasm CXX_EXTENSIONS OFF
  CXX_VISIBILITY_PRESET hidden VISIBILITY_INLINES_HIDDEN ON)
