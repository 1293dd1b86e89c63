include_guard(GLOBAL)

# Detection libraries that behave, misbehave and lack half of their functions.
set(SHROUD_TEST_LIB_DIR ${CMAKE_BINARY_DIR}/lib/tests)
function(shroud_fake_library name)
  add_library(${name} MODULE ${CMAKE_SOURCE_DIR}/tests/support/fake_doriq.cpp)
  set_target_properties(${name} PROPERTIES PREFIX "" CXX_VISIBILITY_PRESET hidden
                                           LIBRARY_OUTPUT_DIRECTORY ${SHROUD_TEST_LIB_DIR})
  target_include_directories(${name} PRIVATE ${CMAKE_SOURCE_DIR}/anonymizer/src)
  target_compile_definitions(${name} PRIVATE ${ARGN})
  target_link_libraries(${name} PRIVATE shroud_flags ${CMAKE_DL_LIBS})
  if(NOT WIN32)
    target_sources(${name} PRIVATE ${CMAKE_SOURCE_DIR}/tests/support/fake_doriq_loading.cpp)
  endif()
endfunction()
shroud_fake_library(fake_doriq)
shroud_fake_library(fake_doriq_without_builder FAKE_WITHOUT_BUILDER)
shroud_fake_library(fake_doriq_without_destroyer FAKE_WITHOUT_DESTROYER)

add_library(test_ai_folder STATIC ${CMAKE_SOURCE_DIR}/tests/support/ai_folder.cpp
                                 ${CMAKE_SOURCE_DIR}/tests/support/temp_folder.cpp)
target_include_directories(test_ai_folder PUBLIC ${CMAKE_SOURCE_DIR}/tests)
target_compile_definitions(test_ai_folder PRIVATE SHROUD_TEST_LIB_DIR="${SHROUD_TEST_LIB_DIR}")
target_link_libraries(test_ai_folder PRIVATE shroud_flags)
add_dependencies(test_ai_folder fake_doriq fake_doriq_without_builder fake_doriq_without_destroyer)
