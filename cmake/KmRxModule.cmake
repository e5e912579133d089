# kmrx_add_module(<name> <source>... [NO_RUNTIME_LINK])
#
# Builds an extension module: a shared object with the ".yrx" suffix and no
# "lib" prefix, hidden symbols (only what the module marks KMRX_MODULE_EXPORT
# is seen), an $ORIGIN run path so the modules it depends on are found beside
# it, and -fno-gnu-unique so that unloading really removes it from memory.
function(kmrx_add_module name)
  cmake_parse_arguments(ARG "" "" "" ${ARGN})
  add_library(${name} MODULE ${ARG_UNPARSED_ARGUMENTS})
  if(TARGET KmRx::KmRx)
    target_link_libraries(${name} PRIVATE KmRx::KmRx)
  else()
    target_link_libraries(${name} PRIVATE KmRx)
  endif()
  set_target_properties(${name} PROPERTIES
    PREFIX ""
    SUFFIX ".yrx"
    CXX_VISIBILITY_PRESET hidden
    VISIBILITY_INLINES_HIDDEN ON
    BUILD_RPATH "$ORIGIN"
    INSTALL_RPATH "$ORIGIN")
  if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
    target_compile_options(${name} PRIVATE -fno-gnu-unique)
  endif()
endfunction()
