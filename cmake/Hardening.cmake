# What keeps a fault in memory from becoming more than a crash, in builds that are given away and in those that are measured.
# Position-independent code comes with Qt's flags; here the program itself is made so.
if(CMAKE_BUILD_TYPE STREQUAL "RelWithDebInfo" OR CMAKE_BUILD_TYPE STREQUAL "Release")
    include(CheckPIESupported)
    check_pie_supported()
    set(CMAKE_POSITION_INDEPENDENT_CODE ON)
    # Some compilers bring a level of their own, and complain about another one.
    add_compile_options(-fstack-protector-strong -U_FORTIFY_SOURCE -D_FORTIFY_SOURCE=2)
    add_link_options(LINKER:-z,relro LINKER:-z,now)
endif()
