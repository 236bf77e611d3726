tess_fuzzer(clang_protocol_fuzzer ${CMAKE_CURRENT_LIST_DIR}/ClangProtocolFuzzer.cpp LIBS tess_clang)
