# How every target of the project is compiled, and the libraries it may link.
set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_C_STANDARD 11)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)
set(CMAKE_RUNTIME_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/bin)
if(NOT CMAKE_BUILD_TYPE)
    set(CMAKE_BUILD_TYPE Release)
endif()
include(CheckPIESupported)
check_pie_supported()

# Assertions guard recordings, in every build type.
add_compile_options(-UNDEBUG)
add_compile_options(-Wall -Wextra -Wpedantic -Wshadow $<$<COMPILE_LANGUAGE:CXX>:-Wnon-virtual-dtor>)
if(OBRI_WERROR)
    add_compile_options(-Werror)
endif()

if(OBRI_SANITIZE)
    add_compile_options(-fsanitize=${OBRI_SANITIZE} -fno-omit-frame-pointer -fno-sanitize-recover=all -g1)
    add_link_options(-fsanitize=${OBRI_SANITIZE})
endif()

# A camera program reads what a USB device sends: the usual guards, in every build that may be shipped.
if(NOT OBRI_SANITIZE AND NOT CMAKE_BUILD_TYPE STREQUAL Debug)
    add_compile_options(-fstack-protector-strong -U_FORTIFY_SOURCE -D_FORTIFY_SOURCE=2)
    include(CheckCXXCompilerFlag)
    check_cxx_compiler_flag(-fcf-protection OBRI_HAVE_CET)
    if(OBRI_HAVE_CET)
        add_compile_options(-fcf-protection)
    endif()
    add_link_options(-Wl,-z,relro,-z,now)
endif()

find_package(PkgConfig REQUIRED)
find_package(Threads REQUIRED)

# Pixel loops need the vectoriser also where a package is built at -O2.
function(obri_optimise_pixels)
    set_source_files_properties(${ARGN} PROPERTIES COMPILE_OPTIONS "$<$<NOT:$<CONFIG:Debug>>:-O3>")
endfunction()
