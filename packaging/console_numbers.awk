# Numbers that the console lists but refuses: they belong to programs that link the library.
/^runnable:/ {
  for (place = 2; place <= NF; place++) runnable[$place]
  next
}

function refused(number) {
  return !(number in runnable)
}
