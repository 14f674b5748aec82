# SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
# SPDX-License-Identifier: LGPL-2.1-or-later

# The preset "fuzz" builds these with clang and libFuzzer. By hand: build/fuzz/tests/fuzz-policies CORPUS
option(BUILD_FUZZERS "Build the fuzzers; needs clang" OFF)
if(BUILD_FUZZERS)
    foreach(name IN ITEMS policies stack client)
        add_executable(fuzz-${name} fuzz/${name}.cpp fuzz/Fuzzing.cpp)
        target_link_libraries(fuzz-${name} PRIVATE policies client)
        target_link_options(fuzz-${name} PRIVATE -fsanitize=fuzzer)
        # what it finds worth keeping goes there; what is worth committing is moved to the corpus by hand
        set(found ${CMAKE_CURRENT_BINARY_DIR}/fuzz-found/${name})
        file(MAKE_DIRECTORY ${found})
        # a fixed number of inputs from a fixed seed, after all of the corpus
        add_test(NAME fuzz/${name} COMMAND fuzz-${name} -runs=100000 -seed=1 -max_len=512
                 ${found} ${CMAKE_CURRENT_SOURCE_DIR}/fuzz/corpus/${name})
    endforeach()
endif()
