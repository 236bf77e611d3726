tess_fuzzer(elf_debug_fuzzer ${CMAKE_CURRENT_LIST_DIR}/ElfDebugFuzzer.cpp LIBS tess_debug)
