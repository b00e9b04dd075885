# Installs the build tree into a temporary prefix, then builds and runs a small consumer against
# it twice: with find_package(ml CONFIG) and with pkg-config.
function(run)
    execute_process(COMMAND ${ARGV} RESULT_VARIABLE rc OUTPUT_VARIABLE out ERROR_VARIABLE err)
    if(NOT rc EQUAL 0)
        message(FATAL_ERROR "command failed (${rc}): ${ARGV}\n${out}\n${err}")
    endif()
    set(last_output "${out}" PARENT_SCOPE)
endfunction()

set(prefix ${WORK_DIR}/prefix)
file(REMOVE_RECURSE ${WORK_DIR})
run(${CMAKE_COMMAND} --install ${BUILD_DIR} --prefix ${prefix})

set(flags "")
if(SANITIZE)
    set(flags "-fsanitize=${SANITIZE}")
endif()

# CMake package.
run(${CMAKE_COMMAND} -S ${CONSUMER_DIR} -B ${WORK_DIR}/cmake-build
    -DCMAKE_PREFIX_PATH=${prefix} -DCMAKE_CXX_COMPILER=${CXX_COMPILER}
    -DCMAKE_CXX_FLAGS=${flags} -DCMAKE_EXE_LINKER_FLAGS=${flags})
run(${CMAKE_COMMAND} --build ${WORK_DIR}/cmake-build)
run(${WORK_DIR}/cmake-build/consumer)
if(NOT last_output MATCHES "consumer ok")
    message(FATAL_ERROR "unexpected consumer output: ${last_output}")
endif()

# pkg-config.
find_program(PKG_CONFIG pkg-config)
if(PKG_CONFIG)
    file(GLOB pcfile ${prefix}/lib*/pkgconfig/ml.pc ${prefix}/lib*/*/pkgconfig/ml.pc)
    get_filename_component(pcdir "${pcfile}" DIRECTORY)
    set(ENV{PKG_CONFIG_PATH} ${pcdir})
    run(${PKG_CONFIG} --cflags --libs ml)
    string(STRIP "${last_output}" pc_flags)
    separate_arguments(pc_flags UNIX_COMMAND "${pc_flags}")
    separate_arguments(san UNIX_COMMAND "${flags}")
    run(${PKG_CONFIG} --variable=libdir ml)
    string(STRIP "${last_output}" libdir)
    run(${CXX_COMPILER} ${san} ${CONSUMER_DIR}/main.cpp ${pc_flags} -Wl,-rpath,${libdir}
        -o ${WORK_DIR}/pc-consumer)
    run(${WORK_DIR}/pc-consumer)
    if(NOT last_output MATCHES "consumer ok")
        message(FATAL_ERROR "unexpected pkg-config consumer output: ${last_output}")
    endif()
else()
    message(STATUS "pkg-config not found: skipped the pkg-config consumer")
endif()
