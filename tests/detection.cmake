include(fake_libraries.cmake)
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
