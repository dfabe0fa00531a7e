# Finds the library that hashes several messages at once on x86-64: target IPSecMB::IPSecMB.
find_path(IPSecMB_INCLUDE_DIR intel-ipsec-mb.h)
find_library(IPSecMB_LIBRARY IPSec_MB)
mark_as_advanced(IPSecMB_INCLUDE_DIR IPSecMB_LIBRARY)

include(FindPackageHandleStandardArgs)
find_package_handle_standard_args(IPSecMB REQUIRED_VARS IPSecMB_LIBRARY IPSecMB_INCLUDE_DIR)
if(IPSecMB_FOUND AND NOT TARGET IPSecMB::IPSecMB)
  add_library(IPSecMB::IPSecMB UNKNOWN IMPORTED)
  set_target_properties(IPSecMB::IPSecMB PROPERTIES
    IMPORTED_LOCATION "${IPSecMB_LIBRARY}" INTERFACE_INCLUDE_DIRECTORIES "${IPSecMB_INCLUDE_DIR}")
endif()
