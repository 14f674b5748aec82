# SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
# SPDX-License-Identifier: LGPL-2.1-or-later

# The preset "fuzz" builds these with clang and libFuzzer. By hand: build/fuzz/tests/fuzz-policies CORPUS
option(BUILD_FUZZERS "Build the fuzzers; needs clang" OFF)

# add_fuzzer(NAME RUNS [SANDBOX] [OPTIONS option...])
#
# Builds fuzz/NAME.cpp and runs it with all of its corpus and so many further inputs.
function(add_fuzzer name runs)
    cmake_parse_arguments(arg "SANDBOX" "" "OPTIONS" ${ARGN})
    add_executable(fuzz-${name} fuzz/${name}.cpp fuzz/Fuzzing.cpp support/Files.cpp support/Sandbox.cpp)
    target_link_libraries(fuzz-${name} PRIVATE policies modulepolicies client)
    target_link_options(fuzz-${name} PRIVATE -fsanitize=fuzzer)
    # what it finds worth keeping goes there; what is worth committing is moved to the corpus by hand
    set(found ${CMAKE_CURRENT_BINARY_DIR}/fuzz-found/${name})
    file(MAKE_DIRECTORY ${found})
    set(command $<TARGET_FILE:fuzz-${name}> -runs=${runs} -seed=1 -max_len=512 ${arg_OPTIONS} ${found}
                ${CMAKE_CURRENT_SOURCE_DIR}/fuzz/corpus/${name})
    if(arg_SANDBOX)
        set(command ${SANDBOX} -- ${command})
    endif()
    add_test(NAME fuzz/${name} COMMAND ${command})
    set_tests_properties(fuzz/${name} PROPERTIES TIMEOUT 3600)
endfunction()

if(BUILD_FUZZERS)
    add_fuzzer(policies 30000)
    add_fuzzer(stack 50000)
    add_fuzzer(modules 20000)
    # it prints what completes a word
    add_fuzzer(client 30000 OPTIONS -close_fd_mask=1)
    add_fuzzer(tasks 800 SANDBOX)
endif()
