// The search of the site: whatever has all words of the field, in its title or in one of its lines (everything.js).
// Doxygen's own, which it takes the field of, finds names by their beginnings alone.
const find = question => {
    const words = question.toLowerCase().split(/\s+/).filter(word => word);
    const found = [];
    for (const [address, title, place, lines] of words.length ? everything : []) {
        const inTitle = words.filter(word => title.toLowerCase().includes(word)).length;
        const has = line => words.every(word => `${title} ${line}`.toLowerCase().includes(word));
        const line = inTitle === words.length ? lines[0] : lines.find(has);
        if (line !== undefined || inTitle === words.length) {
            const begins = title.toLowerCase().startsWith(words[0]) ? 1 : 0;
            found.push({address, title, place, line: line ?? "", rank: 2 * inTitle + begins});
        }
    }
    return found.sort((one, other) => other.rank - one.rank).slice(0, 50);
};

// A line around its first word that is looked for.
const excerpt = (line, words) => {
    const at = Math.max(0, Math.min(...words.map(word => line.toLowerCase().indexOf(word)).filter(place => place >= 0)));
    const from = Number.isFinite(at) && at > 60 ? at - 40 : 0;
    return (from ? "..." : "") + line.slice(from, from + 140) + (line.length > from + 140 ? "..." : "");
};

// The list below the field. Doxygen moves the field about, so that it is looked up by its name each time.
const list = document.createElement("nav");
list.id = "found";
list.hidden = true;
const isField = element => element.id === "MSearchField";

// How the paragraph or the row of a line begins, by which it is found on its page.
const beginning = line => line.split(" | ")[0].slice(0, 80);

const showSought = () => {
    const sought = sessionStorage.getItem("sought");
    sessionStorage.removeItem("sought");
    const begins = element => beginning(element.textContent.trim().replace(/\s+/g, " ")).startsWith(sought);
    const place = sought && [...document.querySelectorAll(".textblock :is(p, li, td)")].find(begins);
    if (place) {
        place.classList.add("sought");
        for (const delay of [100, 600]) { // after doxygen has gone to the section, which may take it a while
            setTimeout(() => place.scrollIntoView({block: "center"}), delay);
        }
    }
};

const show = field => {
    const words = field.value.toLowerCase().split(/\s+/).filter(word => word);
    list.replaceChildren(...find(field.value).map(({address, title, place, line}) => {
        const link = document.createElement("a");
        link.href = address;
        link.onclick = () => sessionStorage.setItem("sought", beginning(line));
        for (const [kind, text] of [["b", title], ["i", place], ["span", excerpt(line, words)]]) {
            link.appendChild(document.createElement(kind)).textContent = text;
        }
        return link;
    }));
    if (!list.childElementCount) {
        list.textContent = "Nothing has all of these words.";
    }
    const box = document.getElementById("MSearchBox").getBoundingClientRect();
    list.style.top = `${box.bottom + 4}px`;
    list.hidden = !words.length;
    list.style.left = `${Math.max(8, Math.min(box.left, innerWidth - list.offsetWidth - 8))}px`;
};

const step = (key, field) => {
    const links = [...list.querySelectorAll("a")], at = links.indexOf(document.activeElement);
    if (key === "Escape") {
        list.hidden = true;
    } else if (key === "Enter" && field) {
        links[0]?.click();
    } else if (key === "ArrowDown" || key === "ArrowUp") {
        (links[at + (key === "ArrowDown" ? 1 : -1)] ?? document.getElementById("MSearchField")).focus();
    } else {
        return false;
    }
    return true;
};

addEventListener("load", () => {
    document.body.appendChild(list);
    showSought();
});
addEventListener("input", event => {
    if (isField(event.target)) {
        show(event.target);
    }
});
addEventListener("keyup", event => {
    if (isField(event.target)) {
        event.stopImmediatePropagation(); // or doxygen's search begins
    }
}, true);
addEventListener("keydown", event => {
    if (!list.hidden && step(event.key, isField(event.target))) {
        event.preventDefault();
    }
}, true);
addEventListener("click", event => {
    if (!isField(event.target) && (!list.contains(event.target) || event.target.closest("a"))) {
        list.hidden = true;
    }
});
