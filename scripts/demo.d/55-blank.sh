section "Empty pages" "The share of each cell in percent, redder where more stands out. A thick frame marks the place that decided: green on an empty page, amber when unsure, red with content."
blank() {
    run blank --page 1 --picture "$results/$2" "$data/$1"
    compare "$data/$1" "$results/$2" "$last_answer"
}
blank blank/blank_show_through_grey_300dpi.jpg blank_show_through.png
blank blank/blank_specks_1bit_g4_300dpi.tif blank_specks.png
blank blank/blank_paper_colour_300dpi.jpg blank_paper.png
blank blank/few_lines_palette.png blank_few_lines.png
blank blank/few_words_colour_300dpi.jpg blank_few_words.png
run blank "$data"/blank/*
listing
