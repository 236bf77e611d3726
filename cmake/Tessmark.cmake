# tess_library(<target> [LIBS <libs>...])
# One static library per subsystem folder: every .cpp of the calling folder (not below it, so
# nested subsystems such as script/es keep their own library) goes into <target>.
function(tess_library target)
    cmake_parse_arguments(ARG "" "" "LIBS" ${ARGN})
    file(GLOB sources CONFIGURE_DEPENDS "${CMAKE_CURRENT_SOURCE_DIR}/*.cpp")
    file(GLOB headers CONFIGURE_DEPENDS "${CMAKE_CURRENT_SOURCE_DIR}/*.h")
    add_library(${target} STATIC ${sources} ${headers})
    target_include_directories(${target} PUBLIC "${CMAKE_SOURCE_DIR}")
    target_link_libraries(${target} PUBLIC ${ARG_LIBS})
endfunction()

# tess_tests(LIBS <libs>...)
# Every *Test.cpp of the calling folder becomes its own test program, so one broken file does
# not stop the others from building. Each links GoogleTest, tests/support and <libs>.
function(tess_tests)
    cmake_parse_arguments(ARG "" "" "LIBS" ${ARGN})
    file(GLOB tests CONFIGURE_DEPENDS "${CMAKE_CURRENT_SOURCE_DIR}/*Test.cpp")
    get_filename_component(area "${CMAKE_CURRENT_SOURCE_DIR}" NAME)
    foreach(test_source ${tests})
        get_filename_component(name "${test_source}" NAME_WE)
        set(target "${area}_${name}")
        add_executable(${target} ${test_source})
        target_link_libraries(${target} PRIVATE tess_test_support ${ARG_LIBS} GTest::gtest GTest::gtest_main)
        set_target_properties(${target} PROPERTIES RUNTIME_OUTPUT_DIRECTORY "${CMAKE_BINARY_DIR}/tests")
        target_compile_definitions(${target} PRIVATE
            TESS_SOURCE_DIR="${CMAKE_SOURCE_DIR}"
            TESS_TEST_DATA="${CMAKE_CURRENT_SOURCE_DIR}"
            TESS_BIN_DIR="${TESS_INSTALL_DIR}/bin")
        gtest_discover_tests(${target} WORKING_DIRECTORY "${CMAKE_CURRENT_BINARY_DIR}"
                             DISCOVERY_TIMEOUT 60 PROPERTIES TIMEOUT 300)
    endforeach()
endfunction()

# tess_fuzzer(<name> <source> LIBS <libs>...)
function(tess_fuzzer name source)
    cmake_parse_arguments(ARG "" "" "LIBS" ${ARGN})
    add_executable(${name} ${source})
    target_compile_options(${name} PRIVATE -fsanitize=fuzzer)
    target_link_options(${name} PRIVATE -fsanitize=fuzzer)
    target_link_libraries(${name} PRIVATE ${ARG_LIBS})
    set_target_properties(${name} PROPERTIES RUNTIME_OUTPUT_DIRECTORY "${CMAKE_BINARY_DIR}/fuzz")
endfunction()
