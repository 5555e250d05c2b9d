// Runs before the page is drawn, so that it is not drawn twice. Where a browser keeps nothing for pages from files, the
// choice lasts as long as the page.
(function () {
  var chosen = null;
  try { chosen = localStorage.getItem("theme"); } catch (error) { chosen = null; }
  if (chosen === "light" || chosen === "dark") document.documentElement.dataset.theme = chosen;
})();
