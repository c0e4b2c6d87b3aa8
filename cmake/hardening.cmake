# What makes faults of memory end the program instead of serving an attacker. Included before the first target.
#
# Not with sanitizers, which look at the same places themselves.

if(VERIDANE_SANITIZE OR VERIDANE_FUZZ)
  return()
endif()

include(CheckPIESupported)
check_pie_supported(LANGUAGES CXX)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
add_link_options(LINKER:-z,relro LINKER:-z,now LINKER:-z,noexecstack)

include(CheckCXXCompilerFlag)
foreach(flag -fstack-protector-strong -fstack-clash-protection -fcf-protection)
  string(MAKE_C_IDENTIFIER "VERIDANE_HAS${flag}" known)
  check_cxx_compiler_flag(${flag} ${known})
  if(${known})
    add_compile_options(${flag})
  endif()
endforeach()

# Level 3 also checks sizes that are known at run time only; a compiler without it takes it for 2. Needs optimisation.
add_compile_options("$<$<NOT:$<CONFIG:Debug>>:-U_FORTIFY_SOURCE;-D_FORTIFY_SOURCE=3>")

# Bounds of the standard library's containers.
add_compile_definitions("$<$<CONFIG:Release,RelWithDebInfo,MinSizeRel>:_GLIBCXX_ASSERTIONS>")
