# shellcheck shell=bash
# What .ci/run and .ci/long share: steps that are named, timed, and the last thing that is printed.

jobs=$(nproc)
step_names=()
step_seconds=()

# A compiler cache, where there is one.
if command -v ccache >/dev/null; then
    export CMAKE_C_COMPILER_LAUNCHER=ccache CMAKE_CXX_COMPILER_LAUNCHER=ccache
    # Without, it compiles anew what has a precompiled header.
    export CCACHE_SLOPPINESS=${CCACHE_SLOPPINESS:-pch_defines,time_macros}
fi

# attempt NAME COMMAND...: leaves in $status how it ended. Not to be called in a condition, where
# "set -e" would not hold for the command.
attempt()
{
    local name=$1 start=$SECONDS
    shift
    printf '\n== %s\n' "$name"
    set +e
    (
        set -e
        "$@"
    )
    status=$?
    set -e
    step_names+=("$name")
    step_seconds+=($((SECONDS - start)))
    [ "$status" -eq 0 ] || printf '\n== FAILED with %s: %s\n' "$status" "$name"
}

print_times()
{
    local index
    printf '\n== seconds\n'
    for index in "${!step_names[@]}"; do
        printf '%6d  %s\n' "${step_seconds[index]}" "${step_names[index]}"
    done
    printf '%6d  in all\n' "$SECONDS"
}

# The scripts of the repository, by their names and first lines.
python_scripts()
{
    git ls-files -z '*.py'
    git ls-files -z | xargs -0 grep -lIZE -m1 '^#!.*\bpython3' --
}

shell_scripts()
{
    git ls-files -z | xargs -0 grep -lIE -m1 '^#!.*\b(ba)?sh$' --
}
