# smtpclient_depend(<package> <version> <target> [<linker flag>...]): links something that no host
# sees. A host of the static library links it, too: that package's files name it.
macro(smtpclient_depend package version target)
    find_package(${package} ${version} REQUIRED)
    list(APPEND private_targets ${target})
    string(APPEND private_packages "find_dependency(${package} ${version})\n")
    string(JOIN " " private_flags ${private_flags} ${ARGN})
endmacro()

smtpclient_depend(CURL 7.88 CURL::libcurl -lcurl)  # Tried with none that is older.
smtpclient_depend(Iconv "" Iconv::Iconv)
if(NOT Iconv_IS_BUILT_IN)
    string(APPEND private_flags " ${Iconv_LIBRARIES}")
endif()
smtpclient_depend(Threads "" Threads::Threads -pthread)
