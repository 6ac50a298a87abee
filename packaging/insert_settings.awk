# insert_settings.awk LIST PAGE: puts what `vlmctl list` prints into its page, in place of the comment
# that names it.

NR == FNR {
  name = $1
  type = $2
  sub(/^[^ ]+ +[^ ]+ */, "")
  items = items ".It Cm " name "\n" type ($0 == "" ? "" : ", " $0) "\n"
  next
}

$0 == ".\\\" settings" { printf ".Bl -tag -width \"Ds\" -compact\n%s.El\n", items; next }
{ print }
