# Detection libraries that behave, misbehave and lack half of their functions.
set(SHROUD_TEST_LIB_DIR ${CMAKE_BINARY_DIR}/lib/tests)
function(shroud_fake_library name)
  add_library(${name} MODULE support/fake_doriq.cpp)
  set_target_properties(${name} PROPERTIES PREFIX "" CXX_VISIBILITY_PRESET hidden
                                           LIBRARY_OUTPUT_DIRECTORY ${SHROUD_TEST_LIB_DIR})
  target_include_directories(${name} PRIVATE ${CMAKE_SOURCE_DIR}/anonymizer/src)
  target_compile_definitions(${name} PRIVATE ${ARGN})
  target_link_libraries(${name} PRIVATE shroud_flags)
endfunction()
shroud_fake_library(fake_doriq)
shroud_fake_library(fake_doriq_without_builder FAKE_WITHOUT_BUILDER)
shroud_fake_library(fake_doriq_without_destroyer FAKE_WITHOUT_DESTROYER)

add_library(test_ai_folder STATIC support/ai_folder.cpp support/temp_folder.cpp)
target_include_directories(test_ai_folder PUBLIC ${CMAKE_CURRENT_SOURCE_DIR})
target_compile_definitions(test_ai_folder PRIVATE SHROUD_TEST_LIB_DIR="${SHROUD_TEST_LIB_DIR}")
target_link_libraries(test_ai_folder PRIVATE shroud_flags)
add_dependencies(test_ai_folder fake_doriq fake_doriq_without_builder fake_doriq_without_destroyer)
add_library(test_darknet_models STATIC support/darknet_models.cpp)
target_include_directories(test_darknet_models PUBLIC ${CMAKE_CURRENT_SOURCE_DIR})
target_link_libraries(test_darknet_models PRIVATE shroud_flags)

# The pass as a whole is tested among the engine's tests.
target_sources(core_tests PRIVATE support/detection_pass.cpp support/figure_clip.cpp)
target_link_libraries(core_tests PRIVATE test_ai_folder test_darknet_models)
if(TARGET Doriq)
  add_dependencies(core_tests Doriq)
endif()

shroud_test_program(detector_tests SOURCES detector/darknet_cfg_test.cpp support/plain_main.cpp
                    LIBRARIES darknet_cfg test_darknet_models)
if(TARGET Doriq)
  target_sources(detector_tests PRIVATE detector/install_model_test.cpp detector/yolodetector_test.cpp)
  target_include_directories(detector_tests PRIVATE ${CMAKE_SOURCE_DIR}/anonymizer/src)
  target_link_libraries(detector_tests PRIVATE pxl_base test_ai_folder ${CMAKE_DL_LIBS})
  add_dependencies(detector_tests Doriq tarvex_shroud_install_model)
endif()

# The companion with detection.
target_sources(batch_tests PRIVATE support/figure_clip.cpp)
target_link_libraries(batch_tests PRIVATE pxl_base test_ai_folder test_darknet_models)
if(TARGET Doriq)
  target_compile_definitions(batch_tests PRIVATE SHROUD_DORIQ_PATH="$<TARGET_FILE:Doriq>")
  add_dependencies(batch_tests Doriq)
else()
  target_compile_definitions(batch_tests PRIVATE SHROUD_DORIQ_PATH="")
endif()
