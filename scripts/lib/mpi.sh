# SPDX-License-Identifier: Apache-2.0
# shellcheck shell=bash
# Runs programs on several ranks. To be sourced.

# on_ranks <ranks> <command>...: Open MPI is told that ranks may share a processor, that they may be root in a
# container, and that nobody logs in anywhere.
on_ranks() {
    local ranks=$1
    shift
    OMPI_MCA_rmaps_base_oversubscribe=1 OMPI_ALLOW_RUN_AS_ROOT=1 OMPI_ALLOW_RUN_AS_ROOT_CONFIRM=1 \
        OMPI_MCA_mpi_yield_when_idle=1 OMPI_MCA_btl_vader_single_copy_mechanism=none \
        OMPI_MCA_plm_rsh_agent=/bin/false mpirun -n "$ranks" "$@"
}
