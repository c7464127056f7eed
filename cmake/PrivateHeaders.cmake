# A module's private headers are its implementation: each opens with
#
#   #ifndef HALVANE_INSIDE_<target>
#   #error "..."
#   #endif
#
# and only the module's own sources define HALVANE_INSIDE_<target>, so that any other
# module including one, directly or through another header, fails to build.

# The module `target` may include its own private headers.
function(halvane_private_headers target)
  target_compile_definitions(${target} PRIVATE HALVANE_INSIDE_${target})
endfunction()

# `user` (the module's own tests, benchmarks or fuzz targets) may include the private
# headers of `module`. PUBLIC passes the right on, for a support library whose headers
# include them.
function(halvane_reach_private_headers user module)
  set(scope PRIVATE)
  if(ARGN)
    set(scope ${ARGN})
  endif()
  target_compile_definitions(${user} ${scope} HALVANE_INSIDE_${module})
endfunction()
