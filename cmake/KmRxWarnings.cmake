# Warning set shared by every target of the project.
function(kmrx_warnings target)
  target_compile_options(${target} PRIVATE -Wall -Wextra)
  if(KMRX_WERROR)
    target_compile_options(${target} PRIVATE -Werror)
  endif()
endfunction()
