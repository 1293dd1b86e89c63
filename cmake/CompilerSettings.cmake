# Flags shared by every target; a target takes them by linking shroud_flags.
add_library(shroud_flags INTERFACE)
target_include_directories(shroud_flags INTERFACE ${CMAKE_SOURCE_DIR})

target_compile_options(shroud_flags INTERFACE -Wall -Wextra -Wshadow -Wnon-virtual-dtor -Woverloaded-virtual
                                              -Wcast-qual -Wundef)
if(SHROUD_WERROR)
  target_compile_options(shroud_flags INTERFACE -Werror)
endif()

if(SHROUD_SANITIZE STREQUAL "address")
  set(sanitizer_flags -fsanitize=address,undefined -fno-sanitize-recover=undefined -fno-omit-frame-pointer)
elseif(SHROUD_SANITIZE STREQUAL "thread")
  set(sanitizer_flags -fsanitize=thread -fno-omit-frame-pointer)
elseif(SHROUD_SANITIZE)
  message(FATAL_ERROR "SHROUD_SANITIZE must be address, thread or empty, not '${SHROUD_SANITIZE}'")
endif()
if(SHROUD_SANITIZE)
  target_compile_options(shroud_flags INTERFACE ${sanitizer_flags})
  target_link_options(shroud_flags INTERFACE ${sanitizer_flags})
endif()
# The fuzz targets' own -fsanitize=fuzzer adds the main program.
if(SHROUD_FUZZ)
  target_compile_options(shroud_flags INTERFACE -fsanitize=fuzzer-no-link)
endif()
