// Pictures before and after: the range says how much of the upper one is shown.
for (const figure of document.querySelectorAll(".compare")) {
  const range = figure.querySelector("input");
  const place = () => figure.style.setProperty("--before", `${range.value}%`);
  range.addEventListener("input", place);
  place();
}
