# What keeps a fault in code that reads strangers' bytes from becoming an attack. Sanitizer builds go
# without: their run-time does not know the checked calls of the C library.
if(QUORVID_SANITIZE)
  return()
endif()
include(CheckCXXCompilerFlag)

# The checked calls need an optimised build. A compiler or packager may have set a level before, and a
# second definition is an error.
add_compile_options(-fstack-protector-strong
                    "$<$<NOT:$<CONFIG:Debug>>:-U_FORTIFY_SOURCE;-D_FORTIFY_SOURCE=2>")
# Not every processor and compiler has these: probing of large frames, and marks at the targets of
# indirect jumps on x86 and on 64-bit Arm. clang only warns of what it leaves out.
set(CMAKE_REQUIRED_FLAGS -Werror)
foreach(flag IN ITEMS -fstack-clash-protection -fcf-protection -mbranch-protection=standard)
  string(MAKE_C_IDENTIFIER "QUORVID_HAS${flag}" has_flag)
  check_cxx_compiler_flag(${flag} ${has_flag})
  if(${has_flag})
    add_compile_options(${flag})
  endif()
endforeach()
unset(CMAKE_REQUIRED_FLAGS)

# Every symbol is bound at the start and its table read-only from then on; no stack is executable.
add_link_options(-Wl,-z,relro -Wl,-z,now -Wl,-z,noexecstack)
# Programs at a random address. A static one, as the cross builds link them, stays where it is.
if(NOT CMAKE_EXE_LINKER_FLAGS MATCHES "-static")
  include(CheckPIESupported)
  check_pie_supported()
endif()
