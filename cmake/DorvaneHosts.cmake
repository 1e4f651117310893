# The hosts of the translation platform are values of the deployment. The defaults are names that
# can never resolve (RFC 2606); at run time the option "servers" replaces them.
foreach(environment PRODUCTION STAGING)
  string(TOLOWER ${environment} word)
  set(DORVANE_${environment}_API "api.${word}.invalid" CACHE STRING "${word}: API host")
  set(DORVANE_${environment}_SSO "sso.${word}.invalid" CACHE STRING "${word}: sign-in host")
  set(DORVANE_${environment}_DELIVERY "delivery.${word}.invalid" CACHE STRING "${word}: delivery host")
  set(DORVANE_${environment}_CDN "cdn.${word}.invalid" CACHE STRING "${word}: delivery CDN host")
endforeach()
configure_file(${CMAKE_CURRENT_LIST_DIR}/DVHosts.h.in ${PROJECT_BINARY_DIR}/generated/DVHosts.h)
