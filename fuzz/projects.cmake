tess_fuzzer(projects_fuzzer ${CMAKE_CURRENT_SOURCE_DIR}/ProjectsFuzzer.cpp LIBS tess_projects)
