# For bash scripts of several stages: `stage NAME COMMAND...` runs the command and ends the script
# when it fails. At the end, however it comes, a summary shows every stage's time and the closing
# lines of its test runner, also those of scripts that were called.

if [ -z "${STILTFORGE_SUMMARY:-}" ]; then
  STILTFORGE_SUMMARY=$(mktemp)
  export STILTFORGE_SUMMARY
  trap 'printf "\n== Summary\n"; cat "$STILTFORGE_SUMMARY"; rm -f "$STILTFORGE_SUMMARY"' EXIT
fi

stage() {
  local name=$1 output status start=$SECONDS
  shift
  output=$(mktemp)
  printf '\n== %s\n' "$name"
  # Behind || the shell would go on after a failure inside of a function.
  set +e
  (set -e; "$@") 2>&1 | tee "$output"
  status=$?
  set -e
  {
    printf '%4d s  %s%s\n' $((SECONDS - start)) "$name" "$([ $status = 0 ] || echo ': FAILED')"
    grep -E '^[0-9]+% tests passed|^(#|ℹ) (tests|pass|fail|skipped) [0-9]+$|^Total Test time' "$output" |
      sed 's/^/        /' || true
  } >>"$STILTFORGE_SUMMARY"
  rm -f "$output"
  [ $status = 0 ] || exit $status
}
