include(${CMAKE_CURRENT_LIST_DIR}/ZOLTFittingEngineTargets.cmake)
