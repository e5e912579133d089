# The runtime's own calls to its exported functions go straight to them, not
# through the PLT: they sit on every type check and message delivery. Nobody
# is meant to interpose the runtime's functions.
function(kmrx_bind_locally target)
  target_compile_options(${target} PRIVATE -fno-semantic-interposition)
  target_link_options(${target} PRIVATE -Wl,-Bsymbolic-functions)
endfunction()
