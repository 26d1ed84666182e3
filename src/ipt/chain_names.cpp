// Names of the gateway's own chains, exported for applications.
#include "talvera/ipt.h"

extern "C" {

const char nm_tai_mangle_prerouting_chain_name[] = "tai_mangle_prerouting_chain";
const char nm_tai_filter_sbl_chain_name[] = "tai_filter_sbl_chain";
const char nm_tai_filter_input_chain_name[] = "tai_filter_input_chain";
const char nm_tai_filter_forward_chain_name[] = "tai_filter_forward_chain";
const char nm_tai_nat_prerouting_chain_name[] = "tai_nat_prerouting_chain";

}  // extern "C"
