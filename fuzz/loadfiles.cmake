# One target per text reader, from one source: TESS_LOAD_FILE_TYPE names the reader.
foreach(type srec ihex hex tihex)
    tess_fuzzer(load_${type}_fuzzer ${CMAKE_CURRENT_LIST_DIR}/LoadFileFuzzer.cpp LIBS tess_debug)
    target_compile_definitions(load_${type}_fuzzer PRIVATE TESS_LOAD_FILE_TYPE="${type}")
endforeach()
