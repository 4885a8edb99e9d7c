# Most of a source's compile time is spent on the headers and templates that its neighbours use as well.
option(ZQ_BATCHES "Compile 32 sources of a target at once" ON)

# zq_compile_in_batches(<target>): the names in the unnamed namespaces of its sources must differ.
function(zq_compile_in_batches target)
  if(ZQ_BATCHES)
    set_target_properties(${target} PROPERTIES UNITY_BUILD ON UNITY_BUILD_BATCH_SIZE 32)
  endif()
endfunction()
