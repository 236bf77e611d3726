if(TARGET tess_shell)
    tess_fuzzer(shell_fuzzer ${CMAKE_CURRENT_LIST_DIR}/ShellFuzzer.cpp LIBS tess_shell)
endif()
