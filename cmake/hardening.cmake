# What the program is built with against being misused through an error of its own: it reads
# hostile bytes with a web server's rights. tests/hardened_test.sh looks at the result.
include(CheckCXXCompilerFlag)
include(CheckPIESupported)

# Not by CMAKE_POSITION_INDEPENDENT_CODE, which would build orvellis_core as a part of a shared
# library: its functions could be replaced from outside, so that none of them is inlined.
check_pie_supported(LANGUAGES CXX)
if(CMAKE_CXX_LINK_PIE_SUPPORTED)
  target_compile_options(orvellis_options INTERFACE -fPIE)
  target_link_options(orvellis_options INTERFACE -pie)
endif()

# Checked calls of the C library need an optimised build, and the sanitizers, which watch the same
# calls, need plain ones. Some systems set a lower level themselves, hence first away with it.
if(NOT ORVELLIS_SANITIZE)
  target_compile_options(orvellis_options INTERFACE
    "$<$<CONFIG:Release,RelWithDebInfo,MinSizeRel>:-U_FORTIFY_SOURCE;-D_FORTIFY_SOURCE=3>")
endif()
target_compile_options(orvellis_options INTERFACE -fstack-protector-strong)
check_cxx_compiler_flag(-fcf-protection ORVELLIS_HAS_CF_PROTECTION)
if(ORVELLIS_HAS_CF_PROTECTION)
  target_compile_options(orvellis_options INTERFACE -fcf-protection)
endif()
target_link_options(orvellis_options INTERFACE -Wl,-z,relro,-z,now -Wl,-z,noexecstack)
