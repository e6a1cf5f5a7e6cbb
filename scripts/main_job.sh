#!/usr/bin/env bash
# Runs the main job on real input: imports a glTF model, shows, edits, writes and re-reads the scene,
# and renders it before and after an edit where the renderer was built.
# main_job.sh BUILD_DIR, the folder in which the tool was built. Stops at the first failed step.
set -euo pipefail

build=$1
kelvo=$build/tools/kelvo/kelvo
out=$build/job
model=$(dpkg -L assimp-testmodels | grep '2CylinderEngine\.glb$')
scene=$out/engine.kns
edited=$out/engine-edited.kns
restored=$out/engine-restored.kns

step() { printf '\n== %s\n' "$*"; }
fail() {
    printf 'The main job failed: %s\n' "$*" >&2
    exit 1
}
hash_of() { "$kelvo" stats "$1" | sed -n 's/^hash: //p'; }
# Reads and writes a scene once more by setting a value to itself.
same_again() { "$kelvo" set "$1" "$path=$("$kelvo" get "$1" "$path")" -o -; }

mkdir -p "$out"
step "Importing $model"
"$kelvo" import "$model" -o "$scene"

step "The scene, from its top"
"$kelvo" show "$scene" >"$out/engine.txt"
sed -n 1,24p "$out/engine.txt"
printf '... %s lines in all\n' "$(wc -l <"$out/engine.txt")"

step "How much of what"
"$kelvo" stats "$scene"

step "Reading it back"
material=$(sed -n 's/^node material "\(.*\)" {.*/\1/p' "$scene" | sed -n 1p)
[ -n "$material" ] || fail "the scene has no material"
path=$material.roughness
before=$("$kelvo" get "$scene" "$path")
same_again "$scene" | cmp - "$scene" || fail "the text changed when it was read and written again"
echo "Read and written again, the text is the same byte by byte."

step "Setting $path from $before to 0.25"
"$kelvo" set "$scene" "$path=0.25" -o "$edited"
[ "$("$kelvo" get "$edited" "$path")" = 0.25 ] || fail "the value that was set does not read back"
changed=$(diff "$scene" "$edited" | grep -c '^>' || true)
[ "$changed" = 1 ] || fail "$changed lines changed, not one"
[ "$(hash_of "$edited")" != "$(hash_of "$scene")" ] || fail "the hash did not change"
echo "One line changed, and the hash of the scene with it."

step "Setting it back"
"$kelvo" set "$edited" "$path=$before" -o "$restored"
cmp "$restored" "$scene" || fail "the text is not the one from before"
[ "$(hash_of "$restored")" = "$(hash_of "$scene")" ] || fail "the hash is not the one from before"
echo "The text and the hash are those from before."

step "Checking"
"$kelvo" check "$scene"

pictures=
render_pictures() {
    local orange='(0.85 0.25 0 1)' painted=$out/engine-painted.kns again=$out/engine-unpainted.kns
    local covers before name paint=() unpaint=()
    step "Rendering"
    # Warnings name faces without area, of which the model has thousands.
    draw "$scene" engine
    covers=$(sed -n 's/^node material "\(Material_23.*\)" {.*/\1/p' "$scene")
    [ -n "$covers" ] || fail "the scene has no materials of covers"
    for name in $covers; do
        before=$("$kelvo" get "$scene" "$name.baseColor")
        paint+=("$name.baseColor=$orange") unpaint+=("$name.baseColor=$before")
    done

    step "Painting the covers orange: ${#paint[@]} materials"
    "$kelvo" set "$scene" "${paint[@]}" -o "$painted"
    "$kelvo" diff "$scene" "$painted" && fail "the scenes do not differ"
    draw "$painted" engine-painted
    if cmp -s "$out/engine.png" "$out/engine-painted.png"; then fail "the picture did not change"; fi
    echo "The covers are orange now, and their colour shines on the metal beside them."

    step "Painting them as they were"
    "$kelvo" set "$painted" "${unpaint[@]}" -o "$again"
    draw "$again" engine-unpainted
    cmp "$out/engine.png" "$out/engine-unpainted.png" || fail "the picture is not the one from before"
    echo "The picture is the one from before, byte by byte."
    pictures="
  the picture          $out/engine.png
  with orange covers   $out/engine-painted.png"
}
draw() { # SCENE NAME
    "$kelvo" render "$1" -o "$out/$2.png" --size 400x270 --samples 24 2>"$out/$2.txt" ||
        { cat "$out/$2.txt"; fail "the scene is not rendered"; }
}
if [ -x "$build/tools/kelvo/kelvo-render" ]; then render_pictures; fi

cat <<TEXT

All went well: the model was imported, shown, edited, written and read back.
  the scene            $scene
  as a tree            $out/engine.txt
  with the value set   $edited
  and set back         $restored$pictures
TEXT
