# The library under test needs coverage instrumentation too, or the fuzzer runs blind.
target_compile_options(tess_foundation PRIVATE -fsanitize=fuzzer-no-link)
tess_fuzzer(xml_parser_fuzzer ${CMAKE_CURRENT_LIST_DIR}/XmlParserFuzzer.cpp LIBS tess_foundation)
