# The project's own code compiles without a warning. Those that follow values through inlined code of the standard
# library differ from one release of a compiler to the next, and may be wrong there: they are shown and stop nothing.
function(ktmp4_set_warnings target)
  target_compile_options(${target} PRIVATE -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wsign-conversion
    -Wnon-virtual-dtor -Woverloaded-virtual -Wold-style-cast -Wnull-dereference -Werror
    $<$<CXX_COMPILER_ID:GNU>:-Wno-error=array-bounds -Wno-error=stringop-overflow -Wno-error=stringop-overread>)
endfunction()
