# The toolkit's test window library, bin/resource/wgtdemo.dat.
set(_wgtdemo_dat ${OWB_INSTALL_TREE}/bin/resource/wgtdemo.dat)
add_custom_command(
  OUTPUT ${_wgtdemo_dat}
  COMMAND ${CMAKE_COMMAND} -E env ND_PATH=${OWB_INSTALL_TREE}/bin/resource
          $<TARGET_FILE:rescomp> -I ${OWB_INSTALL_TREE}/bin/resource -o ${_wgtdemo_dat}
          ${CMAKE_CURRENT_LIST_DIR}/wgtdemo.rsrc
  DEPENDS rescomp ${CMAKE_CURRENT_LIST_DIR}/wgtdemo.rsrc ${OWB_INSTALL_TREE}/bin/resource/ndvgm.dat
          ${OWB_INSTALL_TREE}/bin/resource/ndtkit.dat
  COMMENT "Compiling resource library wgtdemo.dat"
  VERBATIM)
add_custom_target(wgtdemo_resources ALL DEPENDS ${_wgtdemo_dat})

# The toolkit tests, the demo and the event benchmark load the test window.
function(owb_wgtdemo_users)
  foreach(_t toolkit_tests wgtdemo bench_events)
    if(TARGET ${_t})
      add_dependencies(${_t} wgtdemo_resources resource_libraries)
    endif()
  endforeach()
endfunction()
cmake_language(DEFER DIRECTORY ${CMAKE_SOURCE_DIR} CALL owb_wgtdemo_users)
