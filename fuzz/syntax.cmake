tess_fuzzer(syntax_standard_fuzzer ${CMAKE_CURRENT_LIST_DIR}/SyntaxStandardFuzzer.cpp LIBS tess_editor)
tess_fuzzer(syntax_languages_fuzzer ${CMAKE_CURRENT_LIST_DIR}/SyntaxLanguagesFuzzer.cpp LIBS tess_editor)
