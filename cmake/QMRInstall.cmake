include(CMakePackageConfigHelpers)

install(TARGETS QMRCompanion QMRDataStore EXPORT QMRDataStoreTargets
  ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR}
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
  RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR}
  INCLUDES DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/QMR)

# The command-line tool comes with the library.
install(TARGETS qmrstore RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})

install(DIRECTORY companion/ DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/QMR/companion
  FILES_MATCHING PATTERN "*.h")
install(DIRECTORY DataStore/DataStore/DataStore/ DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/QMR/DataStore
  FILES_MATCHING PATTERN "*.h")

install(EXPORT QMRDataStoreTargets NAMESPACE QMR::
  DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/QMRDataStore)

configure_package_config_file(cmake/QMRDataStoreConfig.cmake.in
  ${CMAKE_CURRENT_BINARY_DIR}/QMRDataStoreConfig.cmake
  INSTALL_DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/QMRDataStore)
write_basic_package_version_file(${CMAKE_CURRENT_BINARY_DIR}/QMRDataStoreConfigVersion.cmake
  COMPATIBILITY SameMinorVersion)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/QMRDataStoreConfig.cmake
  ${CMAKE_CURRENT_BINARY_DIR}/QMRDataStoreConfigVersion.cmake
  DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/QMRDataStore)
