tess_fuzzer(es_fuzzer ${CMAKE_CURRENT_LIST_DIR}/EsFuzzer.cpp LIBS tess_es)
