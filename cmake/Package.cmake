# `cpack` makes the Debian packages: each library by the number of its interface, what is needed to
# compile against them, the Python host with its command, and the page.
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME zolt)
set(CPACK_PACKAGE_VENDOR "The ZOLTFittingEngine developers")
set(CPACK_PACKAGE_CONTACT "The ZOLTFittingEngine developers <developers@zolt.invalid>")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
  OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
# Where the inference library finds the engine while their needs are listed.
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${PROJECT_BINARY_DIR})
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_COMPONENTS_ALL "")

# What every Debian package has to bring: its licence and what changed. `cmake --install` leaves
# these, and the packages that are no libraries, out.
set(documents ${PROJECT_BINARY_DIR}/debian)
configure_file(LICENSE ${documents}/copyright COPYONLY)
string(TIMESTAMP zolt_built "%a, %d %b %Y %H:%M:%S +0000" UTC)
configure_file(cmake/debian_changelog.in ${documents}/changelog @ONLY)
execute_process(COMMAND gzip -9nf changelog WORKING_DIRECTORY ${documents})
file(WRITE ${documents}/triggers "activate-noawait ldconfig\n")

function(zolt_debian_package component name section text)
  cmake_parse_arguments(PARSE_ARGV 4 package "ANY_PROCESSOR" "DEPENDS" "")
  string(TOUPPER ${component} COMPONENT)
  foreach(setting IN ITEMS
      "NAME|${name}" "SECTION|${section}" "DEPENDS|${package_DEPENDS}" "SHLIBDEPS|ON")
    string(REPLACE "|" ";" setting "${setting}")
    list(POP_FRONT setting key)
    set(CPACK_DEBIAN_${COMPONENT}_PACKAGE_${key} "${setting}" PARENT_SCOPE)
  endforeach()
  if(package_ANY_PROCESSOR)
    set(CPACK_DEBIAN_${COMPONENT}_PACKAGE_ARCHITECTURE all PARENT_SCOPE)
    set(CPACK_DEBIAN_${COMPONENT}_PACKAGE_SHLIBDEPS OFF PARENT_SCOPE)
  elseif(section STREQUAL "libs")
    set(CPACK_DEBIAN_${COMPONENT}_PACKAGE_CONTROL_EXTRA ${documents}/triggers PARENT_SCOPE)
  endif()
  set(CPACK_COMPONENT_${COMPONENT}_DESCRIPTION "${text}" PARENT_SCOPE)
  set(CPACK_COMPONENTS_ALL ${CPACK_COMPONENTS_ALL} ${component} PARENT_SCOPE)
  install(FILES ${documents}/copyright ${documents}/changelog.gz
    DESTINATION ${CMAKE_INSTALL_DATAROOTDIR}/doc/${name} COMPONENT ${component} EXCLUDE_FROM_ALL)
endfunction()

set(same "(= ${PROJECT_VERSION})")
set(engine libzoltfittingengine${zolt_abi})
set(inference libzoltinference${zolt_abi})
zolt_debian_package(engine ${engine} libs "The engine, a shared library without dependencies.")
zolt_debian_package(inference ${inference} libs
  "Least squares with errors, evidence for the number of states and intervals." DEPENDS "${engine} ${same}")
zolt_debian_package(development libzoltfittingengine-dev libdevel
  "What is needed to compile programs against both libraries." DEPENDS "${engine} ${same}, ${inference} ${same}")
zolt_debian_package(python python3-zolt python
  "The Python package zolt and the command of that name." ANY_PROCESSOR
  DEPENDS "python3 (>= 3.10), python3-numpy, python3-pandas, python3-matplotlib, python3-click, python3-tqdm, python3-openpyxl, python3-xlsxwriter, python3-chardet, ${inference} (>= ${PROJECT_VERSION})")
set(CPACK_DEBIAN_PYTHON_PACKAGE_RECOMMENDS zolt-page)
zolt_debian_package(page zolt-page science
  "The analysis in a browser: one file that needs no network." ANY_PROCESSOR)

install(DIRECTORY python/zolt DESTINATION lib/python3/dist-packages
  COMPONENT python EXCLUDE_FROM_ALL PATTERN __pycache__ EXCLUDE PATTERN lib EXCLUDE)
configure_file(python/METADATA.in ${documents}/METADATA @ONLY)
install(FILES ${documents}/METADATA COMPONENT python EXCLUDE_FROM_ALL
  DESTINATION lib/python3/dist-packages/zolt-${PROJECT_VERSION}.dist-info)
install(PROGRAMS python/command.py RENAME zolt DESTINATION bin COMPONENT python EXCLUDE_FROM_ALL)
install(FILES out/zolt.html DESTINATION ${CMAKE_INSTALL_DATAROOTDIR}/zolt
  COMPONENT page EXCLUDE_FROM_ALL)

include(CPack)
