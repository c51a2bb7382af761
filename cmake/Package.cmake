# The Debian package of the product.

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME kzm-logger-provider)
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "WBEM provider for the settings of the log-monitoring agent")
set(CPACK_PACKAGE_CONTACT "the maintainers <maintainers@localhost>")
set(CPACK_PACKAGING_INSTALL_PREFIX "/")
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_DEPENDS mount)
set(CPACK_DEBIAN_PACKAGE_SECTION admin)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_STRIP_FILES ON)
include(CPack)
