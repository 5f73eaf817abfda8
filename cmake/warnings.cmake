# The project's own code compiles without a warning. One that follows values through inlined code of the standard library
# differs from one release of a compiler to the next, and may be wrong there: it is shown and stops nothing. In a build
# of somebody else's no warning does.
function(ktmp4_set_warnings target)
  target_compile_options(${target} PRIVATE -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wsign-conversion
    -Wnon-virtual-dtor -Woverloaded-virtual -Wold-style-cast -Wnull-dereference
    $<$<BOOL:${ktmp4_IS_TOP_LEVEL}>:-Werror>
    $<$<CXX_COMPILER_ID:GNU>:-Wno-error=array-bounds>)
endfunction()
