// SPDX-License-Identifier: Apache-2.0
// PETSc's failures as statuses.
#pragma once

#include "distributed/collective.h"

#include <petscsys.h>

namespace zel::distributed {

/// While one of these lives, PETSc returns its failures and prints nothing.
struct quiet {
    quiet() { PetscPushErrorHandler(PetscReturnErrorHandler, nullptr); }
    ~quiet() { PetscPopErrorHandler(); }
    quiet(const quiet&) = delete;
    quiet& operator=(const quiet&) = delete;
};

inline int status_of(PetscErrorCode code) {
    return code == 0 ? 0 : code == PETSC_ERR_MEM ? no_memory : engine_failed;
}

} // namespace zel::distributed
