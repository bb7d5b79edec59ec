# Functions that the steps of the demo write their page with. Needs $tool.

page_file=demo-output/index.html
shown=demo-output/shown

page_begin() {
    mkdir -p "$shown"
    cat >"$page_file" <<'HTML'
<!DOCTYPE html>
<html lang="en">
<meta charset="utf-8">
<meta name="viewport" content="width=device-width">
<title>dornimage: before and after</title>
<style>
body { font: 16px/1.45 sans-serif; margin: 2em auto; max-width: 1200px; padding: 0 1em; color: #222; }
h2 { margin-top: 2.5em; border-bottom: 1px solid #bbb; }
.pair { display: grid; grid-template-columns: 1fr 1fr; gap: 1.5em; margin: 1em 0 2.5em; }
figure { margin: 0; min-width: 0; }
img { max-width: 100%; max-height: 640px; border: 1px solid #999; background: repeating-conic-gradient(#ddd 0 25%, #fff 0 50%) 0 0/20px 20px; }
figcaption { font-size: 14px; color: #555; overflow-wrap: anywhere; }
pre, code { background: #f3f3f3; font-size: 13px; }
pre { padding: .8em; overflow-x: auto; }
</style>
<h1>dornimage: before and after</h1>
HTML
}

page_end() {
    echo "</html>" >>"$page_file"
    rm -rf "$shown"
}

escaped() { sed 's/&/\&amp;/g; s/</\&lt;/g; s/>/\&gt;/g'; }

# section TITLE TEXT
section() {
    printf '<h2>%s</h2>\n<p>%s</p>\n' "$(escaped <<<"$1")" "$(escaped <<<"$2")" >>"$page_file"
}

# run ARGUMENT... : runs the tool for a step that goes on whatever the exit code, and keeps command, answer and
# exit code for `listing` and the caption of `compare`.
run() {
    last_command="dornimage $*"
    last_code=0
    last_answer=$("$tool" "$@" 2>&1) || last_code=$?
}

# make ARGUMENT... : as run, for a command that has to succeed.
make() {
    run "$@"
    if [ "$last_code" -ne 0 ]; then
        printf '%s\n%s\nexit code %s\n' "$last_command" "$last_answer" "$last_code" >&2
        exit 1
    fi
}

# listing: shows the last command with its answer.
listing() {
    {
        printf '<pre>$ %s\n' "$(escaped <<<"$last_command")"
        escaped <<<"$last_answer"
        [ "$last_code" -eq 0 ] || printf '(exit code %s)\n' "$last_code"
        echo '</pre>'
    } >>"$page_file"
}

# figure FILE NOTE: the picture itself is in the page. What browsers do not show goes through PNG.
figure() {
    local file=$1 picture=$1 type facts
    case "$file" in
        *.jpg) type=jpeg ;;
        *.png | *.gif | *.bmp | *.webp) type=${file##*.} ;;
        *)
            picture=$shown/$(basename "$file").png
            type=png
            "$tool" convert "$file" "$picture" --page 1 2>/dev/null
            ;;
    esac
    facts=$("$tool" info "$file" | sed -n 's/^  size *//p; s/^  depth *//p' | paste -sd, | sed 's/,/, /')
    printf '<figure><img alt="%s" src="data:image/%s;base64,' "$(basename "$file")" "$type"
    base64 -w0 "$picture"
    printf '"><figcaption>%s<br>%s, %s bytes%s</figcaption></figure>\n' \
        "$file" "$facts" "$(stat -c %s "$file")" "${2:+<br>$(escaped <<<"$2")}"
}

# compare BEFORE AFTER [NOTE]: shows two pictures side by side, under the last command.
compare() {
    {
        printf '<p><code>%s</code></p>\n<div class="pair">' "$(escaped <<<"$last_command")"
        figure "$1" ""
        figure "$2" "${3:-}"
        echo '</div>'
    } >>"$page_file"
}
