# The project's own code compiles without a warning.
function(ktmp4_set_warnings target)
  target_compile_options(${target} PRIVATE -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wsign-conversion
    -Wnon-virtual-dtor -Woverloaded-virtual -Wold-style-cast -Wnull-dereference -Werror)
endfunction()
