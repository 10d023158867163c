-- The status of a working tree, beside the one that git shows.
dofile((arg[0]:gsub("[^/]*$", "support/transcript.lua")))

run [[
for name in changed staged both gone staged-gone both-gone link staged-link clash; do echo "This is $name" >$name; done
echo ignored >.gitignore; git add --all; git commit --quiet --message base
git switch --quiet --create topic; echo theirs >clash; git commit --quiet --all --message theirs
git switch --quiet main; echo ours >clash; git commit --quiet --all --message ours; git merge --quiet topic || true
for name in changed staged both both-gone new new-both new-gone ignored; do echo changed >$name; done
ln -sf clash staged-link; git add staged both both-gone new new-both new-gone staged-link; git rm --quiet staged-gone
for name in both new-both; do echo "changed again" >$name; done; rm gone both-gone new-gone; ln -sf clash link
mkdir -p folder/deep; echo new >folder/deep/untracked; echo new >"%n%s 'é' \"of
two lines\""]]
for number = 1, git.get_status(repo) do
  local function read(name) return select(2, untold.get_status_attribute(number, repo, name)) end
  print(number, read "PATH", read "STATUS", read "STAGED")
end
show "git status --short --untracked-files=all"

-- Listing a repository refreshes its index: git finds nothing to look at again.
run [[git reset --quiet --hard; git clean --quiet --force -d; touch -d 2001-01-01 $(git ls-files)
git update-index -q --refresh; touch -d 2002-02-02 changed; ! git diff-files --quiet]]
git.get_status(repo)
run "git diff-files --quiet"

-- Entries are read by their numbers, counted from 1, and by any spelling of an attribute's name.
git.get_status_attribute(1, repo, "PATH")
write("file", "")
git.get_status(repo)
for _, name in ipairs { "path", "Status   ", "PATHS", "" } do git.get_status_attribute(1, repo, name) end
for _, number in ipairs { 1.99, 0.99, -1, 2, 1e300, -1e300, 0 / 0 } do git.get_status_attribute(number, repo, "PATH") end

-- They stay, for each repository, until they are freed or replaced. Blanks behind a path do not
-- count; capitals do.
local other = folder .. "/other"
run "git init --quiet ../other; echo >../other/two; mkdir ../other/folder; echo >earlier"
git.get_status(other)
git.get_status_attribute(1, repo, "PATH")
git.get_status(repo)
for _, path in ipairs { other .. "  ", repo } do git.get_status_attribute(1, path, "PATH") end
for _, path in ipairs { repo, repo, folder .. "/Other" } do git.free_status_objects(path) end
for _, path in ipairs { repo, other } do git.get_status_attribute(1, path, "PATH") end
for _, path in ipairs { folder .. "/none", other .. "/folder", "", "%n%s%z" } do git.get_status(path) end
git.free_status_objects(other)
