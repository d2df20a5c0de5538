if(SMTPCLIENT_SANITIZERS)
    add_compile_options(-fsanitize=${SMTPCLIENT_SANITIZERS} -fno-omit-frame-pointer
        -fno-sanitize-recover=all)
    add_link_options(-fsanitize=${SMTPCLIENT_SANITIZERS})
endif()
