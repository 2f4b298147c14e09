# SPDX-License-Identifier: Apache-2.0
# shellcheck shell=bash
# Which C++ files are ours. To be sourced; paths are relative to the root of the project.

library_folders=(include src host)
other_folders=(distributed python tests fuzz bench examples)

# all_sources: every C++ file, one per line.
all_sources() {
    local folder
    for folder in "${library_folders[@]}" "${other_folders[@]}"; do
        [[ ! -d $folder ]] || find "$folder" -type f \( -name '*.h' -o -name '*.cpp' \)
    done | LC_ALL=C sort
}
