include(GNUInstallDirs)

# Options that apply to every target of the build (library, tests, benchmarks, examples), so a
# sanitizer build instruments the test programs and the library alike.
macro(ml_apply_global_options)
    if(ML_SANITIZE)
        set(ML_SANITIZE_FLAGS -fsanitize=${ML_SANITIZE} -fno-sanitize-recover=all
                              -fno-omit-frame-pointer)
        add_compile_options(${ML_SANITIZE_FLAGS})
        add_link_options(-fsanitize=${ML_SANITIZE})
    endif()
    if(ML_NATIVE)
        add_compile_options(-march=native)
    endif()
endmacro()

function(ml_set_warnings target)
    target_compile_options(${target} PRIVATE -Wall -Wextra -Wpedantic)
    if(ML_WARNINGS_AS_ERRORS)
        target_compile_options(${target} PRIVATE -Werror)
    endif()
endfunction()
