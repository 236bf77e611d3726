cmake_minimum_required(VERSION 3.20)
# comment NOTE here
project(Demo LANGUAGES CXX)
set(SOURCES main.cpp ${EXTRA_${KIND}} "quoted ${VAR} \"escaped\"")
my_function(ARG 42)
IF (WIN32)
message(STATUS "spans
two lines")
endif ()
