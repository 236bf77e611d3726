tess_fuzzer(memory_map_fuzzer ${CMAKE_CURRENT_SOURCE_DIR}/MemoryMapFuzzer.cpp LIBS tess_projects)
tess_fuzzer(project_template_fuzzer ${CMAKE_CURRENT_SOURCE_DIR}/ProjectTemplateFuzzer.cpp LIBS tess_projects)
