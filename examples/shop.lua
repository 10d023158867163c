-- Makes the repository that docs/data.md works on: three people, a quarter of a year, two tags.
--
--     uwugit run examples/shop.lua FOLDER
local folder = assert(arg[1], "usage: uwugit run examples/shop.lua FOLDER")
local status, output = host.run("sh", "-ec", [[
git init --quiet --initial-branch main "$1"; cd "$1"; mkdir src docs
commit() { # DATE AUTHOR MESSAGE, of all that is in the working tree
  export GIT_AUTHOR_NAME="$2" GIT_AUTHOR_EMAIL="$(echo "$2" | tr 'A-Z' 'a-z')@shop.example" GIT_AUTHOR_DATE="$1T12:00:00Z"
  export GIT_COMMITTER_NAME="$2" GIT_COMMITTER_EMAIL="$GIT_AUTHOR_EMAIL" GIT_COMMITTER_DATE="$GIT_AUTHOR_DATE"
  git add --all; git commit --quiet --message "$3"
}
reviewed() { printf '%s\n\nReviewed-by: %s' "$1" "$2"; }
seq 1 40 | sed 's/^/stock /' >src/stock.lua; seq 1 20 | sed 's/^/cart /' >src/cart.lua; echo '# Shop' >README.md
commit 2024-01-08 Ada 'Begin the shop'
echo 'How to run the shop.' >docs/run.md; commit 2024-01-10 Ada 'Tell how to run it'
sed -i 's/^stock 7$/stock seven/' src/stock.lua; commit 2024-01-15 Bob "$(reviewed 'Name the seventh article' Ada)"
seq 21 30 | sed 's/^/cart /' >>src/cart.lua; commit 2024-01-22 Bob "$(reviewed 'Let carts hold more' Ada)"
git tag v1.0
git switch --quiet --create prices; seq 1 15 | sed 's/^/price /' >src/prices.lua; commit 2024-02-01 Cleo 'Add prices'
sed -i 's/^stock 9$/stock nine/' src/stock.lua; echo 'price 16' >>src/prices.lua; commit 2024-02-05 Cleo "$(reviewed 'Price the ninth article' Bob)"
git switch --quiet main; sed -i 's/^cart 3$/cart three/' src/cart.lua; echo 'And how to stop it.' >>docs/run.md
commit 2024-02-07 Ada "$(reviewed 'Stop the shop' Bob)"
export GIT_COMMITTER_DATE=2024-02-12T12:00:00Z GIT_AUTHOR_DATE=2024-02-12T12:00:00Z
git merge --quiet --no-edit prices; git branch --quiet --delete prices
printf 'a\0b' >docs/logo.png; commit 2024-02-20 Ada 'Add a logo'
sed -i '/^price 1[0-9]$/d' src/prices.lua; sed -i 's/^stock 1$/stock one/' src/stock.lua
commit 2024-03-04 Bob "$(reviewed 'Drop old prices' Cleo)"
git rm --quiet docs/run.md; echo 'Run it, stop it.' >>README.md; commit 2024-03-11 Cleo "$(reviewed 'Move the help to the README' Ada)"
git tag v1.1
]], "sh", folder)
assert(status == 0, output)
