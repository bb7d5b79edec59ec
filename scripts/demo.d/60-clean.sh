section "A stack of scans" "One command for a folder of scans: turned upright, straightened, with square pixels, the empty page set aside. The same once more as one PDF."
mkdir -p "$results/stack"
cp "$data/exif/orientation_6.jpg" "$data/pages/note_skewed_1bit_g4.tif" "$data/pages/fax_standard_204x98_g3_1d.tif" \
    "$data/blank/blank_specks_1bit_g4_300dpi.tif" "$results/stack"
make clean "$results/stack" --out "$results/cleaned" --force
listing
compare "$results/stack/note_skewed_1bit_g4.tif" "$results/cleaned/note_skewed_1bit_g4.tif"
compare "$results/stack/fax_standard_204x98_g3_1d.tif" "$results/cleaned/fax_standard_204x98_g3_1d.tif"
make clean "$results/stack" --out "$results/cleaned.pdf" --report "$results/report" --progress none
listing
