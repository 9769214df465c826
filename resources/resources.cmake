# Compiles every resource library source into the installation's
# bin/resource/ with the resource compiler.  A library that imports another
# (shared imports Vgm for its colour and font classes) is built after it.
# fleetmgr holds the Fleet Manager's window templates, toolman the Tool
# Manager's window.
set(_resdir ${OWB_INSTALL_TREE}/bin/resource)
set(_sources nd ndcore ndres ndvgm ndtkit ndgw shared fleetmgr toolman)
set(_imports_shared ndvgm ndtkit)
set(_imports_fleetmgr ndvgm ndtkit)
set(_imports_toolman ndvgm ndtkit)
set(_imports_ndtkit ndvgm)
set(_imports_ndgw ndvgm ndtkit)
set(_outputs)
foreach(_lib ${_sources})
  set(_deps rescomp ${CMAKE_CURRENT_LIST_DIR}/${_lib}.rsrc)
  foreach(_imp ${_imports_${_lib}})
    list(APPEND _deps ${_resdir}/${_imp}.dat)
  endforeach()
  add_custom_command(
    OUTPUT ${_resdir}/${_lib}.dat
    COMMAND ${CMAKE_COMMAND} -E env ND_PATH=${_resdir}
            $<TARGET_FILE:rescomp> -I ${_resdir} -o ${_resdir}/${_lib}.dat ${CMAKE_CURRENT_LIST_DIR}/${_lib}.rsrc
    DEPENDS ${_deps}
    COMMENT "Compiling resource library ${_lib}.dat"
    VERBATIM)
  list(APPEND _outputs ${_resdir}/${_lib}.dat)
endforeach()
add_custom_target(resource_libraries ALL DEPENDS ${_outputs})
