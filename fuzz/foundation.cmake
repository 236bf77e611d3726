tess_fuzzer(xml_parser_fuzzer ${CMAKE_CURRENT_LIST_DIR}/XmlParserFuzzer.cpp LIBS tess_foundation)
