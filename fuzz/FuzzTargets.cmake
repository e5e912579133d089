# The fuzz targets, one place for the libFuzzer build (fuzz/CMakeLists.txt)
# and for the test build, where each target replays its corpus under ctest.
set(KMRX_FUZZ_DIR ${CMAKE_CURRENT_LIST_DIR})
set(KMRX_FUZZ_TARGETS store_file list_reader config_registry registry_store listed_modules)

# Adds the sources of fuzz target <name> to <executable> and links it with
# <runtime>: the instrumented static runtime when fuzzing, the shared library
# in a replay.
function(kmrx_fuzz_sources name executable runtime)
  target_sources(${executable} PRIVATE ${KMRX_FUZZ_DIR}/fuzz_${name}.cpp)
  target_include_directories(${executable} PRIVATE ${KMRX_FUZZ_DIR} ${PROJECT_SOURCE_DIR}
                                                   ${PROJECT_SOURCE_DIR}/platform/src)
  target_link_libraries(${executable} PRIVATE ${runtime})
  if(name MATCHES "^(config_registry|registry_store|listed_modules)$")
    target_sources(${executable} PRIVATE ${KMRX_FUZZ_DIR}/FuzzSupport.cpp)
  endif()
  # The store parser is internal to the shared library: built in for a replay.
  if(name STREQUAL "store_file" AND runtime STREQUAL "KmRx")
    target_sources(${executable} PRIVATE ${PROJECT_SOURCE_DIR}/platform/src/KmStoreFile.cpp
                                         ${PROJECT_SOURCE_DIR}/platform/src/KmStoreTree.cpp)
  endif()
endfunction()

# The test build: replay_<name> runs every seed of fuzz/corpus/<name> once.
function(kmrx_add_fuzz_replays)
  foreach(name ${KMRX_FUZZ_TARGETS})
    add_executable(replay_${name} ${KMRX_FUZZ_DIR}/FuzzReplay.cpp)
    kmrx_fuzz_sources(${name} replay_${name} KmRx)
    kmrx_warnings(replay_${name})
    add_test(NAME fuzz_corpus_${name} COMMAND replay_${name} ${KMRX_FUZZ_DIR}/corpus/${name})
  endforeach()
endfunction()
