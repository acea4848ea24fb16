// The page of the module "Hello": greets the name that the user enters. See Docs/WritingAPage.md.

function create(tag, properties, ...children) {
  const element = Object.assign(document.createElement(tag), properties);
  element.append(...children);
  return element;
}

/** The shell has texts for the codes of the host. */
function explain(error, text) {
  const code = error.code ?? "connection";
  const known = text(`failure.${code}`);
  return known === `failure.${code}` ? text("failure.code", { code }) : known;
}

/** Shows the page in `root`, which is empty, and returns what ends it. */
export function mount(root, context) {
  const { text } = context;
  const name = create("input", { id: "hello-name", className: "oxa-input", required: true, maxLength: 64 });
  const label = create("label", { htmlFor: name.id, textContent: text("hello.name") });
  const greeting = create("output", { className: "oxa-value" });
  const form = create(
    "form",
    { className: "oxa-stack" },
    create("div", { className: "oxa-field" }, label, name),
    create("div", {}, create("button", { className: "oxa-button", textContent: text("hello.greet") })),
    greeting,
  );
  form.addEventListener("submit", async (event) => {
    event.preventDefault();
    try {
      const payload = await context.request("HelloDp", "SayHello", { query: { name: name.value } });
      // Text of others: isolated, and never markup.
      greeting.replaceChildren(create("bdi", { textContent: payload.greeting }));
    } catch (error) {
      if (!context.signal.aborted) {
        greeting.textContent = explain(error, text);
      }
    }
  });
  const title = create("h1", { className: "oxa-page-title", textContent: text("page.hello") });
  root.append(
    create("div", { className: "oxa-stack" }, title, create("section", { className: "oxa-card" }, form)),
  );
  return () => root.replaceChildren();
}
