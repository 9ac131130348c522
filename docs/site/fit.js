// Shows tables that are wider than the page as cards (site.css), and lets the keyboard scroll code that is.
const fit = () => {
    for (const code of document.querySelectorAll("div.fragment, pre.fragment")) {
        code.tabIndex = code.scrollWidth > code.clientWidth ? 0 : -1;
    }
    for (const table of document.querySelectorAll("table.markdownTable")) {
        const columns = [...table.rows[0].cells].map(cell => cell.textContent.trim());
        for (const row of table.rows) {
            [...row.cells].forEach((cell, index) => cell.dataset.column = columns[index]);
        }
        table.classList.remove("cards");
        table.classList.toggle("cards", table.tBodies[0].scrollWidth > table.parentElement.clientWidth);
    }
};
addEventListener("load", fit);
addEventListener("resize", fit);
