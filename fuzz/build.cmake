tess_fuzzer(build_diagnostics ${CMAKE_CURRENT_LIST_DIR}/DiagnosticParserFuzz.cpp LIBS tess_buildengine)
tess_fuzzer(build_dependencies ${CMAKE_CURRENT_LIST_DIR}/DependencyFileFuzz.cpp LIBS tess_buildengine)
