# Numbers that the console lists but refuses belong to programs that link the library. The console's
# own refusals stand before its lists.
/^refused: / { refusals[$2] }

function refused(number) { return number in refusals }
