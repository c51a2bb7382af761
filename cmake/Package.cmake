# The Debian packages of the product: the provider with its tool, and the management server.

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME kzm-logger-provider)
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_PACKAGE_CONTACT "the maintainers <maintainers@localhost>")
set(CPACK_PACKAGING_INSTALL_PREFIX "/")
set(CPACK_STRIP_FILES ON)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS ${CMAKE_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS})
set(CPACK_COMPONENTS_ALL provider wbemd)

set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_ENABLE_COMPONENT_DEPENDS ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION admin)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${CMAKE_BINARY_DIR}/platform)

set(CPACK_DEBIAN_PROVIDER_PACKAGE_NAME kzm-logger-provider)
set(CPACK_DEBIAN_PROVIDER_DESCRIPTION
    "WBEM provider for the settings of the log-monitoring agent")
set(CPACK_DEBIAN_PROVIDER_PACKAGE_DEPENDS mount)

set(CPACK_DEBIAN_WBEMD_PACKAGE_NAME kzm-wbemd)
set(CPACK_DEBIAN_WBEMD_DESCRIPTION
    "WBEM management server for the settings of the log-monitoring agent")
set(CPACK_DEBIAN_WBEMD_PACKAGE_DEPENDS "libpam-runtime, procps, systemd")
set(CPACK_COMPONENT_WBEMD_DEPENDS provider)
set(control ${CMAKE_SOURCE_DIR}/packaging/debian)
set(CPACK_DEBIAN_WBEMD_PACKAGE_CONTROL_EXTRA
    ${control}/conffiles ${control}/postinst ${control}/postrm ${control}/prerm)
include(CPack)
