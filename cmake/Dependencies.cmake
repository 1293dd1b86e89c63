# Every library is found here; docs/dependencies.md gives the reason for each.
find_package(PkgConfig REQUIRED)
find_package(Threads REQUIRED)
pkg_check_modules(FFMPEG REQUIRED IMPORTED_TARGET libavformat libavcodec libavutil libswscale)

# wx-config is asked twice: base only for the engine, everything for the window.
find_program(WX_CONFIG NAMES wx-config REQUIRED)
function(shroud_wx_target name)
  execute_process(COMMAND ${WX_CONFIG} --cxxflags ${ARGN} OUTPUT_VARIABLE flags
                  OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
  execute_process(COMMAND ${WX_CONFIG} --libs ${ARGN} OUTPUT_VARIABLE libs
                  OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
  separate_arguments(flags UNIX_COMMAND "${flags}")
  separate_arguments(libs UNIX_COMMAND "${libs}")
  list(TRANSFORM flags REPLACE "^-I" "-isystem")
  add_library(${name} INTERFACE IMPORTED GLOBAL)
  target_compile_options(${name} INTERFACE ${flags})
  target_link_libraries(${name} INTERFACE ${libs})
endfunction()

shroud_wx_target(wx_base base)
# The engine is compiled without the GUI half of the library, so that a GUI header can't slip in.
target_compile_definitions(wx_base INTERFACE wxUSE_GUI=0)
if(SHROUD_GUI)
  shroud_wx_target(wx_gui core,gl,base)
  pkg_check_modules(EPOXY REQUIRED IMPORTED_TARGET epoxy)
  find_path(STB_INCLUDE_DIR stb_image.h PATH_SUFFIXES stb REQUIRED)
endif()
find_package(OpenCV QUIET COMPONENTS core imgproc dnn)
