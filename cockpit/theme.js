// Light or dark, as the frame around the page has it. Runs before anything is drawn.
(function () {
    "use strict";

    const dark = window.matchMedia("(prefers-color-scheme: dark)");

    function follow(style) {
        const chosen = style || localStorage.getItem("shell:style") || "auto";
        const isDark = chosen === "dark" || (chosen === "auto" && dark.matches);
        document.documentElement.classList.toggle("dark", isDark);
    }

    window.addEventListener("storage", event => {
        if (event.key === "shell:style")
            follow();
    });
    window.addEventListener("cockpit-style", event => follow(event.detail && event.detail.style));
    dark.addEventListener("change", () => follow());
    follow();
})();
