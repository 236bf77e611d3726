tess_fuzzer(forth_fuzzer ${CMAKE_CURRENT_LIST_DIR}/ForthFuzzer.cpp LIBS tess_forth)
