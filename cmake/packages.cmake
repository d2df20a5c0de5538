# Debian packages: `cpack --config BUILD/CPackConfig.cmake`. Built with CMAKE_INSTALL_PREFIX=/usr.
set(SMTPCLIENT_MAINTAINER "smtpclient developers <developers@smtpclient.example.org>" CACHE STRING
    "Who answers for the Debian packages")
set(debian_folder ${PROJECT_BINARY_DIR}/debian)
string(TIMESTAMP now "%a, %d %b %Y %H:%M:%S +0000" UTC)

# smtpclient_package(<component> <package>): with the changelog that Debian asks of each.
function(smtpclient_package component package)
    file(WRITE ${debian_folder}/${package}/changelog
        "smtpclient (${PROJECT_VERSION}) unstable; urgency=medium\n\n"
        "  * See CHANGELOG.md of the sources.\n\n -- ${SMTPCLIENT_MAINTAINER}  ${now}\n")
    execute_process(COMMAND gzip --best --no-name --keep --force
        ${debian_folder}/${package}/changelog)
    install(FILES ${debian_folder}/${package}/changelog.gz
        DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/${package} COMPONENT ${component})
endfunction()

smtpclient_package(runtime libsmtpclient1)
smtpclient_package(development libsmtpclient-dev)

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME smtpclient)
set(CPACK_PACKAGE_CONTACT ${SMTPCLIENT_MAINTAINER})
set(CPACK_STRIP_FILES ON)
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
    OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_ENABLE_COMPONENT_DEPENDS OFF)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${PROJECT_BINARY_DIR})
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
set(CPACK_COMPONENTS_ALL runtime development)

set(CPACK_DEBIAN_RUNTIME_PACKAGE_NAME libsmtpclient1)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SECTION libs)
set(CPACK_COMPONENT_RUNTIME_DESCRIPTION
    "library that sends Internet mail\n Composes and sends mail for the program that loads it: text and HTML,\n pictures, attachments, any charset, over SMTP with TLS, SOCKS proxies,\n passwords or OAuth 2.0 tokens, at once or in the background.")
set(CPACK_DEBIAN_RUNTIME_PACKAGE_CONTROL_EXTRA ${debian_folder}/triggers)
file(WRITE ${debian_folder}/triggers "activate-noawait ldconfig\n")

set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_NAME libsmtpclient-dev)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS "libsmtpclient1 (= ${PROJECT_VERSION})")
set(CPACK_COMPONENT_DEVELOPMENT_DESCRIPTION
    "library that sends Internet mail (development files)\n Headers, and the files by which CMake and pkg-config find the library.")

if(TARGET send_mail)
    smtpclient_package(tools smtpclient-tools)
    list(APPEND CPACK_COMPONENTS_ALL tools)
    set(CPACK_DEBIAN_TOOLS_PACKAGE_NAME smtpclient-tools)
    set(CPACK_DEBIAN_TOOLS_PACKAGE_SECTION mail)
    set(CPACK_DEBIAN_TOOLS_PACKAGE_DEPENDS "libsmtpclient1 (= ${PROJECT_VERSION})")
    set(CPACK_COMPONENT_TOOLS_DESCRIPTION
        "sends one mail from the command line\n send_mail has an option for every setting of the library libsmtpclient1.")
endif()
include(CPack)
