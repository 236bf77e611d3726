# The readers of git's output live in the git provider's library; the fuzzer compiles them in.
tess_fuzzer(git_output_fuzzer ${CMAKE_CURRENT_SOURCE_DIR}/GitOutputFuzzer.cpp LIBS tess_sourcecontrol)
target_sources(git_output_fuzzer PRIVATE ${CMAKE_SOURCE_DIR}/sourcecontrol/git/GitOutput.cpp)
