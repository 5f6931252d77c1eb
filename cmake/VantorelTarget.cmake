# One static library a subsystem, and the checks that go with it.

# vantorel_library(NAME SOURCES file... [PUBLIC target...] [PRIVATE target...])
# Makes vantorel_NAME with the alias vantorel::NAME. Without SOURCES the library is headers only.
function(vantorel_library name)
    cmake_parse_arguments(ARG "" "" "SOURCES;PUBLIC;PRIVATE" ${ARGN})
    set(target vantorel_${name})
    if(ARG_SOURCES)
        add_library(${target} STATIC ${ARG_SOURCES})
        target_link_libraries(${target} PUBLIC ${ARG_PUBLIC} PRIVATE ${ARG_PRIVATE} $<BUILD_INTERFACE:vantorel_flags>)
        # Private headers are named from src, as public ones are from include.
        target_include_directories(${target} PRIVATE ${PROJECT_SOURCE_DIR}/src)
        set(scope PUBLIC)
    else()
        add_library(${target} INTERFACE)
        target_link_libraries(${target} INTERFACE ${ARG_PUBLIC})
        set(scope INTERFACE)
    endif()
    add_library(vantorel::${name} ALIAS ${target})
    set_target_properties(${target} PROPERTIES EXPORT_NAME ${name})
    target_compile_features(${target} ${scope} cxx_std_20)
    target_include_directories(${target} ${scope}
        $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}/include>
        $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}>)
    if(NOT BUILD_SHARED_LIBS)
        install(TARGETS ${target} EXPORT VantorelTargets ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR})
    endif()
    set_property(GLOBAL APPEND PROPERTY VANTOREL_LIBRARIES ${target})
endfunction()

# vantorel_umbrella()
# Makes vantorel::vantorel, which stands for vantorel_static or, with BUILD_SHARED_LIBS, for vantorel_shared.
# vantorel_static is all archives but those of the machines, of which a host links what it installs, and the C interface,
# which brings both. vantorel_shared is one
# library made of the objects of all of them; tests want that in any case, to look at it and for other languages than C++.
function(vantorel_umbrella)
    get_property(libraries GLOBAL PROPERTY VANTOREL_LIBRARIES)
    set(parts ${libraries})
    list(FILTER parts EXCLUDE REGEX "^vantorel_(machine_.*|opening|c)$")
    add_library(vantorel_static INTERFACE)
    set_target_properties(vantorel_static PROPERTIES EXPORT_NAME vantorel)
    target_link_libraries(vantorel_static INTERFACE ${parts})

    if(BUILD_SHARED_LIBS OR VANTOREL_BUILD_TESTS)
        add_library(vantorel_shared SHARED)
        set_target_properties(vantorel_shared PROPERTIES
            OUTPUT_NAME vantorel EXPORT_NAME vantorel VERSION ${PROJECT_VERSION} SOVERSION 0
            LINKER_LANGUAGE CXX)
        target_compile_features(vantorel_shared INTERFACE cxx_std_20)
        target_include_directories(vantorel_shared INTERFACE
            $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}/include>
            $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}>)
        foreach(library IN LISTS libraries)
            get_target_property(type ${library} TYPE)
            if(type STREQUAL "STATIC_LIBRARY")
                target_sources(vantorel_shared PRIVATE $<TARGET_OBJECTS:${library}>)
            endif()
        endforeach()
        target_link_libraries(vantorel_shared PRIVATE ${libraries}) # for what they link
        target_link_options(vantorel_shared PRIVATE LINKER:--version-script=${PROJECT_SOURCE_DIR}/cmake/vantorel.map)
        set_property(TARGET vantorel_shared APPEND PROPERTY LINK_DEPENDS ${PROJECT_SOURCE_DIR}/cmake/vantorel.map)
        if(NOT VANTOREL_SANITIZE)
            target_link_options(vantorel_shared PRIVATE LINKER:-z,defs) # nothing is left for the host to bring
        endif()
    endif()

    if(BUILD_SHARED_LIBS)
        add_library(vantorel::vantorel ALIAS vantorel_shared)
        install(TARGETS vantorel_shared EXPORT VantorelTargets LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR})
    else()
        add_library(vantorel::vantorel ALIAS vantorel_static)
        install(TARGETS vantorel_static EXPORT VantorelTargets)
    endif()
endfunction()

# vantorel_tests(NAME SOURCES file... LINK target... [ENVIRONMENT variable=value])
# Makes NAME_tests; every case runs in a process of its own.
function(vantorel_tests name)
    cmake_parse_arguments(ARG "" "ENVIRONMENT" "SOURCES;LINK" ${ARGN})
    set(target ${name}_tests)
    add_executable(${target} ${ARG_SOURCES})
    target_link_libraries(${target} PRIVATE ${ARG_LINK} vantorel_flags GTest::gmock GTest::gtest_main)
    target_include_directories(${target} PRIVATE ${PROJECT_SOURCE_DIR}/src ${PROJECT_SOURCE_DIR}/tests)
    target_compile_definitions(${target} PRIVATE
        VANTOREL_TEST_DATA="${PROJECT_SOURCE_DIR}/tests/data"
        VANTOREL_SAMPLES="${PROJECT_SOURCE_DIR}/samples")
    gtest_discover_tests(${target} DISCOVERY_TIMEOUT 60 PROPERTIES TIMEOUT 120 ENVIRONMENT "${ARG_ENVIRONMENT}")
endfunction()

# vantorel_script_test(NAME SCRIPT argument...)
# Runs a script as a test; it says by the exit status 77 that something it needs is not installed (tests/support/need.sh).
function(vantorel_script_test name script)
    if(CMAKE_CROSSCOMPILING) # scripts start the command themselves, as one of this computer
        return()
    endif()
    add_test(NAME ${name} COMMAND ${CMAKE_CURRENT_SOURCE_DIR}/${script} ${ARGN})
    set_tests_properties(${name} PROPERTIES SKIP_RETURN_CODE 77 TIMEOUT 120)
endfunction()

# vantorel_fuzz_target(NAME SOURCES file... LINK target...)
# Makes fuzz_NAME, a libFuzzer program where the compiler has it; its seeds lie in fuzz/corpus/NAME.
function(vantorel_fuzz_target name)
    cmake_parse_arguments(ARG "" "" "SOURCES;LINK" ${ARGN})
    add_executable(fuzz_${name} ${ARG_SOURCES})
    target_link_libraries(fuzz_${name} PRIVATE ${ARG_LINK} vantorel_flags)
    target_link_options(fuzz_${name} PRIVATE -fsanitize=fuzzer)
    target_include_directories(fuzz_${name} PRIVATE ${PROJECT_SOURCE_DIR}/src)
endfunction()
