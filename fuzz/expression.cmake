tess_fuzzer(expression_fuzzer ${CMAKE_CURRENT_LIST_DIR}/ExpressionFuzzer.cpp LIBS tess_foundation)
