# A bill of materials (CycloneDX) of what this build makes: what goes into it and what it asks for at run time, with the
# versions it was built with. The same inputs make the same bytes; SOURCE_DATE_EPOCH sets the time.
string(TIMESTAMP bill_date "%Y-%m-%dT%H:%M:%SZ" UTC)
string(UUID bill_id NAMESPACE 6ba7b811-9dad-11d1-80b4-00c04fd430c8 TYPE SHA1
    NAME "zrflcrypto ${PROJECT_VERSION} ${OPENSSL_VERSION} ${CMAKE_CXX_COMPILER_VERSION} ${bill_date}")
string(REGEX MATCH "^[0-9]+" bill_openssl_major "${OPENSSL_VERSION}")
set(bill_of_materials ${PROJECT_BINARY_DIR}/zrflcrypto.cdx.json)
configure_file(cmake/zrflcrypto.cdx.json.in ${bill_of_materials} @ONLY)
