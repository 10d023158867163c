# Small repositories with something of everything, for the parts that change or damage them.

# make_world FOLDER: a folder with "bare", the origin; "repo", with branches that merge, clash and
# are behind, a stash, packed and loose objects and references, and files in every state; and
# "rebasing", a copy of it in the middle of a rebase that stopped. Also sets the user's own git
# settings to ones in the folder "home" beside it.
make_world() {
  mkdir -p "$1" "$1/../home"
  HOME=$(cd "$1/../home" && pwd)
  export HOME XDG_CONFIG_HOME="$HOME" GIT_CONFIG_NOSYSTEM=1 GIT_CONFIG_GLOBAL="$HOME/.gitconfig"
  export GIT_AUTHOR_DATE='2020-01-01 00:00 +0000' GIT_COMMITTER_DATE='2020-01-01 00:00 +0000'
  (
    set -e
    cd "$1"
    git config --global init.defaultBranch main
    git config --global init.templateDir ''
    git config --global maintenance.auto false
    git config --global user.name Test
    git config --global user.email test@example.org
    on() { git switch -qc "$1" "$2"; echo "$1" >"$3"; git add .; git commit -qm "$1"; }
    git init -q repo
    cd repo
    mkdir folder
    seq 40 >file; echo kept >kept; echo deep >folder/deep
    git add .; git commit -qm main; git tag -am tag v1
    on rival main file; on clash rival clash; on topic main topic; on ahead main ahead
    git switch -q main; git repack -adq; git pack-refs --all
    git clone -q --bare . ../bare
    git remote add origin "$(cd .. && pwd)/bare"; git fetch -q
    on loose main loose; git switch -q main
    echo stashed >kept; git stash -q
    cp -R . ../rebasing
    echo changed >kept; echo new >new; git add new; echo untracked >untracked; rm folder/deep
    cd ../rebasing
    on mine main file; echo more >more; git add .; git commit -qm more
    git repack -adq; git switch -q --detach rival
    ! git cherry-pick -n mine~1 >/dev/null 2>&1 || exit 1
    # The state as libgit2 keeps it: git's own has other files.
    mkdir .git/rebase-merge; cd .git/rebase-merge
    git rev-parse mine~1 | tee cmt.1 >current; git rev-parse mine | tee cmt.2 >orig-head
    git rev-parse rival | tee onto >onto_name; echo refs/heads/mine >head-name
    echo 1 >msgnum; echo 2 >end
  ) || exit 2
}
