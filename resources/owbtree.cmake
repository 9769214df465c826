# The demo installation's files beside its programs: lib/ (boot scripts and
# configuration files), the helper scripts of bin/ and the help documents of
# help/ (found by the Tool Manager on its search path), copied from
# resources/owb/.  The target owb_install_tree stands for the whole tree,
# programs included; the test and benchmark programs that start fleet
# processes depend on it.
set(_owb_tree_files
  lib/boot.s
  lib/restart.s
  lib/engplace.cfg
  lib/debug.cfg
  bin/bgterm
  bin/placemon
  bin/helpview
  help/help.css
  help/user.html
  help/userGuide.html
  help/classes.html
  help/developer.html
  help/wandercode.html)
set(_owb_tree_outputs)
foreach(_f ${_owb_tree_files})
  add_custom_command(
    OUTPUT ${OWB_INSTALL_TREE}/${_f}
    COMMAND ${CMAKE_COMMAND} -E copy ${CMAKE_CURRENT_SOURCE_DIR}/owb/${_f} ${OWB_INSTALL_TREE}/${_f}
    DEPENDS ${CMAKE_CURRENT_SOURCE_DIR}/owb/${_f}
    COMMENT "Laying out ${_f} in the installation")
  list(APPEND _owb_tree_outputs ${OWB_INSTALL_TREE}/${_f})
endforeach()
add_custom_target(owb_install_tree ALL DEPENDS ${_owb_tree_outputs})
add_dependencies(owb_install_tree run_prog eng)
if(TARGET fleetctl)
  add_dependencies(owb_install_tree fleetctl)
endif()

# The test programs are defined after this file, hence the deferred call.
function(owb_tests_need_install_tree)
  foreach(_t fleet_tests tools_tests shared_ui_tests bench_fleetops)
    if(TARGET ${_t})
      add_dependencies(${_t} owb_install_tree)
    endif()
  endforeach()
endfunction()
cmake_language(DEFER DIRECTORY ${CMAKE_SOURCE_DIR} CALL owb_tests_need_install_tree)
