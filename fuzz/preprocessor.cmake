tess_fuzzer(preprocessor_fuzzer ${CMAKE_CURRENT_LIST_DIR}/PreprocessorFuzzer.cpp LIBS tess_foundation)
