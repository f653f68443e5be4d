# Each folder of src/ is compiled once, as an object library (brx_<name>_obj), and packed twice:
# into a static archive brx_<name> that the tests and benchmarks of that folder link, and into
# the shared library. A test links only the subsystems it needs, so that work in one folder does
# not hold up the tests of another.
function(brx_subsystem name)
    cmake_parse_arguments(ARG "" "" "DEPS" ${ARGN})
    file(GLOB sources CONFIGURE_DEPENDS
        ${CMAKE_CURRENT_SOURCE_DIR}/${name}/*.cpp
        ${CMAKE_CURRENT_SOURCE_DIR}/${name}/*.h
        ${CMAKE_CURRENT_SOURCE_DIR}/${name}/*.qrc)
    add_library(brx_${name}_obj OBJECT ${sources})
    target_include_directories(brx_${name}_obj PUBLIC
        ${PROJECT_SOURCE_DIR}/include
        ${PROJECT_SOURCE_DIR}/src)
    target_link_libraries(brx_${name}_obj PUBLIC ${ARG_DEPS})
    add_library(brx_${name} STATIC)
    target_link_libraries(brx_${name} PUBLIC brx_${name}_obj)
endfunction()
