# With the OpenSSL flavour of libcurl, trusted certificates are parsed once for the process, not once
# a connection. The flavour is asked of libcurl's own tool; the library asks again when it runs.
find_program(CURL_CONFIG curl-config)
mark_as_advanced(CURL_CONFIG)
set(curl_tls "")
if(CURL_CONFIG)
    execute_process(COMMAND ${CURL_CONFIG} --ssl-backends OUTPUT_VARIABLE curl_tls)
endif()
set(share_by_default OFF)
if(curl_tls MATCHES "OpenSSL")
    set(share_by_default ON)
endif()
option(SMTPCLIENT_SHARE_TRUST_STORE
    "Parse trusted certificates once for the process (libcurl's OpenSSL flavour only)"
    ${share_by_default})

if(SMTPCLIENT_SHARE_TRUST_STORE)
    set(trust_store_libraries OpenSSL::SSL OpenSSL::Crypto)
    smtpclient_depend(OpenSSL 3.0 "${trust_store_libraries}" -lssl -lcrypto)
    set(trust_store_source
        transport/trust_store_openssl.cpp platform/posix/file_version.cpp)
else()
    set(trust_store_libraries "")
    set(trust_store_source transport/trust_store_none.cpp)
endif()
