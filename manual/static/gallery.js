// SPDX-License-Identifier: Apache-2.0
// The gallery shows the pictures of the kind whose button is pressed.
document.addEventListener("DOMContentLoaded", () => {
    const buttons = [...document.querySelectorAll(".filters button")];
    const cards = [...document.querySelectorAll(".card")];
    const found = document.querySelector(".found");
    if (!found) return;
    const show = kind => {
        let count = 0;
        for (const card of cards) {
            card.hidden = kind !== "" && !card.dataset.kinds.split(" ").includes(kind);
            if (!card.hidden) ++count;
        }
        for (const button of buttons)
            button.setAttribute("aria-pressed", String(button.dataset.filter === kind));
        found.textContent = `${count} functions`;
    };
    for (const button of buttons) button.addEventListener("click", () => show(button.dataset.filter));
    show("");
});
