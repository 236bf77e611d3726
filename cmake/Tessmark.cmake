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
# Every *Test.cpp of the calling folder goes into one test program per area (<area>_tests), so
# the suite links a handful of programs rather than one per file. Each links GoogleTest,
# tests/support and <libs>.
function(tess_tests)
    cmake_parse_arguments(ARG "" "" "LIBS" ${ARGN})
    file(GLOB tests CONFIGURE_DEPENDS "${CMAKE_CURRENT_SOURCE_DIR}/*Test.cpp")
    get_filename_component(area "${CMAKE_CURRENT_SOURCE_DIR}" NAME)
    set(target "${area}_tests")
    add_executable(${target} ${tests})
    target_link_libraries(${target} PRIVATE tess_test_support ${ARG_LIBS} GTest::gtest GTest::gtest_main)
    target_precompile_headers(${target} PRIVATE <gtest/gtest.h> <QString> <QStringList> <QByteArray>)
    set_target_properties(${target} PROPERTIES RUNTIME_OUTPUT_DIRECTORY "${CMAKE_BINARY_DIR}/tests")
    target_compile_definitions(${target} PRIVATE
        TESS_SOURCE_DIR="${CMAKE_SOURCE_DIR}"
        TESS_TEST_DATA="${CMAKE_CURRENT_SOURCE_DIR}"
        TESS_BIN_DIR="${TESS_INSTALL_DIR}/bin")
    gtest_discover_tests(${target} WORKING_DIRECTORY "${CMAKE_CURRENT_BINARY_DIR}"
                         DISCOVERY_TIMEOUT 60 NO_PRETTY_VALUES PROPERTIES TIMEOUT 300)
endfunction()

# tess_fuzzer(<name> <source> LIBS <libs>...)
function(tess_fuzzer name source)
    cmake_parse_arguments(ARG "" "" "LIBS" ${ARGN})
    add_executable(${name} ${source})
    target_compile_options(${name} PRIVATE -fsanitize=fuzzer)
    target_link_options(${name} PRIVATE -fsanitize=fuzzer)
    target_link_libraries(${name} PRIVATE ${ARG_LIBS})
    set_target_properties(${name} PROPERTIES RUNTIME_OUTPUT_DIRECTORY "${CMAKE_BINARY_DIR}/fuzz")
    set_property(GLOBAL APPEND PROPERTY TESS_FUZZ_TARGETS ${name})
endfunction()
