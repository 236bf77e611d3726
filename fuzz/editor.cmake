tess_fuzzer(editor_fuzzer ${CMAKE_CURRENT_LIST_DIR}/EditorFuzzer.cpp LIBS tess_editor)
