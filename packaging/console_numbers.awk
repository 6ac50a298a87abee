# Numbers that the console lists but refuses: they belong to programs that link the library.
function refused(number) {
  return (number >= 98 && number <= 199) || number == 204 || number > 241
}
