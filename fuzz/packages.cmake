tess_fuzzer(package_archive_fuzzer ${CMAKE_CURRENT_LIST_DIR}/PackageArchiveFuzzer.cpp LIBS tess_packages)
