# Debian packages, built with `cpack -G DEB` in a build configured with
# -DCMAKE_INSTALL_PREFIX=/usr (so the library goes to the multiarch directory):
# libkovosdk2 (named after the SONAME), libkovosdk-dev and kovo-tools.
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME kovosdk)
set(CPACK_PACKAGE_VENDOR "Kovo")
set(CPACK_PACKAGE_CONTACT "Kovo SDK maintainers <sdk@kovo.example>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "Client library for Kovo network IP cameras")
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_COMPONENTS_ALL runtime development tools)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_STRIP_FILES ON)
set(CPACK_DEBIAN_PACKAGE_SECTION libs)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
# Run-time dependencies come from dpkg-shlibdeps; the library itself is not
# installed yet, so its build directory is searched and the tools' dependency
# on it comes from the component dependencies below.
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${PROJECT_BINARY_DIR})
set(CPACK_DEBIAN_ENABLE_COMPONENT_DEPENDS ON)

set(CPACK_DEBIAN_RUNTIME_PACKAGE_NAME libkovosdk${PROJECT_VERSION_MAJOR})
# A shlibs file lets packages built against the library depend on it.
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS_POLICY ">=")
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_NAME libkovosdk-dev)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_TOOLS_PACKAGE_NAME kovo-tools)
set(CPACK_DEBIAN_TOOLS_PACKAGE_SECTION video)

include(CPack)
cpack_add_component(runtime DISPLAY_NAME "Kovo SDK library"
  DESCRIPTION "Shared library through which a video management station talks to Kovo network IP cameras.")
cpack_add_component(development DISPLAY_NAME "Kovo SDK development files" DEPENDS runtime
  DESCRIPTION "Header, link library, pkg-config file and CMake package of the Kovo SDK.")
cpack_add_component(tools DISPLAY_NAME "Kovo SDK tools" DEPENDS runtime
  DESCRIPTION "kovo-camsim (camera simulator), kovo-demo (demonstration program) and kovo (command-line tool).")
