ask() {
  SOURCE_DATE_EPOCH=984225600 "$ORVELLIS" edition=modern username=ann days=all "$@" || echo "status $?"
}
